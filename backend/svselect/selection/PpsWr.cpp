// PPS_WR: n independent draws of one unit, unit i with probability p(i); n may be above N.
//
// Random numbers: n GetRealOpen.
//
// Each draw is a point u M on a line of length M, where the units follow one another, each as long as its
// size: the point hits the unit whose interval S(i-1) < u M <= S(i) holds it.
//
// Results:  hits as drawn; inclusion probability 1 - (1 - p(i))^n, that of one hit or more; weight
//           1 / (n p(i)), whatever the hits.
// Source:   [HansenHurwitz43] in docs/BIBLIOGRAPHY.md.
// Domain:   any sizes. A negative one leads the line back; see AddHits().
// Accuracy: S(i) is a plain sum, so a draw hits unit i with a probability within about N 2^-52 of p(i). The
//           inclusion probability has a relative error of up to about 2^-53 / p(i), as 1 - p(i) is rounded.

#include <algorithm>
#include <cmath>

#include "backend/svselect/selection/HitCounts.h"
#include "backend/svselect/selection/MethodFunctions.h"
#include "host/numeric/MCRandomTwister.h"

namespace {

SVSStated Stated(const SVSStratumView& stratum, std::int32_t position) {
  const double share = stratum.shares[static_cast<std::size_t>(position)];
  return {1.0 - std::pow(1.0 - share, stratum.requested), WeightOf(stratum.RequestedShare(position))};
}

}  // namespace

SVStatus DrawPpsWr(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                   SVSTakenUnits* taken) {
  // Points are counted some at a time, since a sample with replacement can be far larger than its stratum.
  constexpr std::int32_t kFewestAtATime = 1 << 16;
  const std::int32_t atATime = std::max(stratum.units, kFewestAtATime);
  std::vector<std::int32_t> hits(static_cast<std::size_t>(stratum.units));
  std::vector<double> points;
  for (std::int32_t left = stratum.requested; left > 0;) {
    points.resize(static_cast<std::size_t>(std::min(left, atATime)));
    left -= static_cast<std::int32_t>(points.size());
    for (double& point : points) point = random->GetRealOpen() * stratum.totalSize;
    if (!AddHits(&points, stratum.cumulativeSizes, &hits, stratum.cancelInfo)) {
      return ErrorStatus(kStatusCancelled);
    }
  }
  for (std::int32_t i = 0; i < stratum.units; ++i) {
    const std::int32_t count = hits[static_cast<std::size_t>(i)];
    if (count > 0) taken->Take(i, Stated(stratum, i), count);
  }
  return SVStatus();
}

SVStatus ForeseePpsWr(const SVSStratumView& stratum, SVSForeseenUnits* units) {
  for (std::int32_t i = 0; i < stratum.units; ++i) {
    units->Take(i, Stated(stratum, i), stratum.RequestedShare(i));
  }
  return SVStatus();
}
