// PPS_WR and PPS_SYSTEMATIC: points on the line of the cumulative sizes.

#include <algorithm>
#include <cmath>
#include <limits>

#include "backend/svselect/selection/HitCounts.h"
#include "backend/svselect/selection/SVSelectSamples.h"
#include "host/numeric/MCRandomTwister.h"

namespace {
constexpr std::int64_t kMostSelected = std::numeric_limits<std::int32_t>::max();
}

void SVSelectSamples::SelectPpsWr() {
  // Points are counted some at a time, since a sample with replacement can be far larger than its stratum.
  constexpr std::int32_t kFewestAtATime = 1 << 16;
  const std::int32_t atATime = std::max(fNAllSamples, kFewestAtATime);
  std::vector<std::int32_t> hits(fpClusterTablePairs->size());
  std::vector<double> points;
  for (std::int32_t left = fNRequestSamples; left > 0;) {
    points.resize(static_cast<std::size_t>(std::min(left, atATime)));
    left -= static_cast<std::int32_t>(points.size());
    for (double& point : points) point = fpRandom->GetRealOpen() * fTotalSampleSize;
    if (!AddHits(&points, fCumSampleSizes, &hits, fpCancelInfo)) return Fail(kStatusCancelled);
  }
  std::int64_t selected = 0;
  for (std::int32_t i = 0; i < fNAllSamples; ++i) {
    const std::int32_t count = hits[static_cast<std::size_t>(i)];
    if (count == 0) continue;
    const double inclProb = 1.0 - std::pow(1.0 - Share(i), fNRequestSamples);
    Unit(i).SetResults(inclProb, WeightOf(RequestedShare(i)), count);
    selected += count;
  }
  // Negative sizes lead the line back, and a point there lies in several intervals.
  fNSelectSamples = static_cast<std::int32_t>(std::min<std::int64_t>(selected, kMostSelected));
}

void SVSelectSamples::SelectPpsSystematic() {
  const double interval = fTotalSampleSize / fNRequestSamples;
  if (AnySizeAbove(interval)) return Fail(kStatusInvalidSize);
  const double start = fpRandom->GetRealOpen() * interval;
  std::vector<double> points(static_cast<std::size_t>(fNRequestSamples));
  for (std::size_t k = 0; k < points.size(); ++k) points[k] = static_cast<double>(k) * interval + start;
  std::vector<std::int32_t> hits(fpClusterTablePairs->size());
  if (!AddHits(&points, fCumSampleSizes, &hits, fpCancelInfo)) return Fail(kStatusCancelled);
  for (std::int32_t i = 0; i < fNAllSamples; ++i) {
    const std::int32_t count = hits[static_cast<std::size_t>(i)];
    if (count == 0) continue;
    Unit(i).SetResults(RequestedShare(i), WeightOf(RequestedShare(i)), count);
    ++fNSelectSamples;
  }
}
