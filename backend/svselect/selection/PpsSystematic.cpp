// PPS_SYSTEMATIC: n units without replacement at fixed intervals along the sizes, unit i with probability
// n p(i).
//
// Random numbers: one GetRealOpen, u.
//
// The units follow one another on a line of length M, each as long as its size. Point k = 0..n-1 is at
// (k + u) M / n, and a unit is taken when a point is in its interval S(i-1) < x <= S(i). No unit is longer
// than the distance of two points, so none has two, but for rounding.
//
// Results:  inclusion probability n p(i), weight 1 / (n p(i)), the points in the unit's interval as hits.
// Source:   [Madow49] in docs/BIBLIOGRAPHY.md.
// Domain:   s(i) <= M / n, else 92032. A negative size leads the line back; see AddHits().
// Accuracy: each point is a product and a sum, not repeated addition, which could lose the last point. S(i)
//           is a plain sum, so unit i is taken with a probability within about n N 2^-52 of n p(i).

#include "backend/svselect/selection/HitCounts.h"
#include "backend/svselect/selection/MethodFunctions.h"
#include "host/numeric/MCRandomTwister.h"

SVStatus DrawPpsSystematic(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                           SVSTakenUnits* taken) {
  if (stratum.AnySizeTooLarge()) return ErrorStatus(kStatusInvalidSize);
  const double interval = stratum.totalSize / stratum.requested;
  const double start = random->GetRealOpen() * interval;
  std::vector<double> points(static_cast<std::size_t>(stratum.requested));
  for (std::size_t k = 0; k < points.size(); ++k) points[k] = static_cast<double>(k) * interval + start;
  std::vector<std::int32_t> hits(static_cast<std::size_t>(stratum.units));
  if (!AddHits(&points, stratum.cumulativeSizes, &hits, stratum.cancelInfo)) {
    return ErrorStatus(kStatusCancelled);
  }
  for (std::int32_t i = 0; i < stratum.units; ++i) {
    const std::int32_t count = hits[static_cast<std::size_t>(i)];
    if (count > 0) taken->TakeBySize(stratum, i, count);
  }
  return SVStatus();
}

SVStatus ForeseePpsSystematic(const SVSStratumView& stratum, SVSForeseenUnits* units) {
  if (stratum.AnySizeTooLarge()) return ErrorStatus(kStatusInvalidSize);
  units->TakeAllBySize(stratum);
  return SVStatus();
}
