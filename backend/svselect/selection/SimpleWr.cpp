// SIMPLE_WR: n independent draws of one unit of N, each unit with the same probability; n may be above N.
//
// Random numbers: n GetRealClosedOpen.
//
// Results:  hits as drawn; inclusion probability 1 - (1 - 1/N)^n, that of one hit or more; weight N / n for
//           each unit, whatever its hits.
// Accuracy: a draw hits each unit with a probability within 2^-52 of 1/N. 1 - 1/N is rounded, so the
//           inclusion probability has a relative error of up to about N 2^-53: 1e-10 for a million units.

#include <algorithm>
#include <cmath>

#include "backend/svselect/selection/MethodFunctions.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/MCRandomTwister.h"

namespace {

SVSStated Stated(const SVSStratumView& stratum) {
  const double population = stratum.units;
  return {1.0 - std::pow(1.0 - 1.0 / population, stratum.requested), population / stratum.requested};
}

}  // namespace

SVStatus DrawSimpleWr(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                      SVSTakenUnits* taken) {
  const double population = stratum.units;
  const SVSStated stated = Stated(stratum);
  std::vector<std::int32_t> hits(static_cast<std::size_t>(stratum.units));
  for (std::int32_t draw = 0; draw < stratum.requested; ++draw) {
    if (stratum.Cancelled()) return ErrorStatus(kStatusCancelled);
    // The product can be rounded up to N.
    const std::int32_t unit = TruncateToInt32(population * random->GetRealClosedOpen());
    ++hits[static_cast<std::size_t>(std::min(unit, stratum.units - 1))];
  }
  for (std::int32_t i = 0; i < stratum.units; ++i) {
    const std::int32_t count = hits[static_cast<std::size_t>(i)];
    if (count > 0) taken->Take(i, stated, count);
  }
  return SVStatus();
}

SVStatus ForeseeSimpleWr(const SVSStratumView& stratum, SVSForeseenUnits* units) {
  units->TakeAll(Stated(stratum), static_cast<double>(stratum.requested) / stratum.units);
  return SVStatus();
}
