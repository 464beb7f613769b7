// SIMPLE_WOR: n of N units without replacement, each sample of n units with the same probability.
//
// Random numbers: one GetRealOpen for each unit looked at, in list order, until n are taken.
//
// The units are passed once. Unit i is taken with the probability
//
//   r / (N - i + 1),   r = the units still wanted,
//
// which is 1 as soon as as many are wanted as are left, so the pass always ends with n units.
//
// Results:  inclusion probability n / N, weight N / n.
// Source:   [FanMullerRezucha62] in docs/BIBLIOGRAPHY.md.
// Accuracy: each of these probabilities is met within 2^-52.

#include "backend/svselect/selection/MethodFunctions.h"
#include "host/numeric/MCRandomTwister.h"

namespace {

SVSStated Stated(const SVSStratumView& stratum) {
  return {static_cast<double>(stratum.requested) / stratum.units,
          static_cast<double>(stratum.units) / stratum.requested};
}

}  // namespace

// Takes units as it goes: a cancelled draw leaves the first ones taken.
SVStatus DrawSimpleWor(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                       SVSTakenUnits* taken) {
  const SVSStated stated = Stated(stratum);
  std::int32_t wanted = stratum.requested;
  for (std::int32_t i = 0; i < stratum.units && wanted > 0; ++i) {
    if (stratum.Cancelled()) return ErrorStatus(kStatusCancelled);
    const double chance = static_cast<double>(wanted) / (stratum.units - i);
    if (!(chance > random->GetRealOpen())) continue;
    taken->Take(i, stated);
    --wanted;
  }
  return SVStatus();
}

SVStatus ForeseeSimpleWor(const SVSStratumView& stratum, SVSForeseenUnits* units) {
  const SVSStated stated = Stated(stratum);
  units->TakeAll(stated, stated.inclProb);
  return SVStatus();
}
