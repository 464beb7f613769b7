// SIMPLE_SYSTEMATIC: every k-th unit from a random start, k = N / n not rounded.
//
// Random numbers: one GetRealOpen, u.
//
// Draw j = 0..n-1 takes unit trunc((j + u) k) + 1. As k isn't rounded, each unit has the same probability
// n / N, and no unit at the end of the list is out of reach.
//
// Results:  inclusion probability n / N, weight k.
// Accuracy: (j + u) k is formed anew for each j, within 2^-52 of its value relatively; repeated addition of k
//           would add up its rounding. A draw falls so near to the border of two units that this matters with
//           a probability of order N 2^-52.

#include <algorithm>

#include "backend/svselect/selection/MethodFunctions.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/MCRandomTwister.h"

namespace {

SVSStated Stated(const SVSStratumView& stratum) {
  return {static_cast<double>(stratum.requested) / stratum.units,
          static_cast<double>(stratum.units) / stratum.requested};
}

}  // namespace

// Takes units as it goes: a cancelled draw leaves the first ones taken.
SVStatus DrawSimpleSystematic(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                              SVSTakenUnits* taken) {
  const SVSStated stated = Stated(stratum);
  const double interval = stated.weight;
  const double start = random->GetRealOpen();
  for (std::int32_t j = 0; j < stratum.requested; ++j) {
    if (stratum.Cancelled()) return ErrorStatus(kStatusCancelled);
    const std::int32_t unit = TruncateToInt32((j + start) * interval);
    taken->Take(std::min(unit, stratum.units - 1), stated);
  }
  return SVStatus();
}

SVStatus ForeseeSimpleSystematic(const SVSStratumView& stratum, SVSForeseenUnits* units) {
  const SVSStated stated = Stated(stratum);
  units->TakeAll(stated, stated.inclProb);
  return SVStatus();
}
