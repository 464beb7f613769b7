#include "backend/svselect/selection/HitCounts.h"

#include <algorithm>
#include <cmath>

#include "backend/svselect/design/SVCancelInfo.h"

namespace {
// The number of points not greater than `end`, searched from `known` on, such a number for another end.
std::size_t CountUpTo(std::span<const double> points, double end, std::size_t known) {
  if (known > 0 && points[known - 1] > end) {  // a negative size leads back
    const auto last = points.begin() + static_cast<std::ptrdiff_t>(known);
    return static_cast<std::size_t>(std::upper_bound(points.begin(), last, end) - points.begin());
  }
  while (known < points.size() && points[known] <= end) ++known;
  return known;
}
}  // namespace

bool AddHits(std::vector<double>* points, std::span<const double> cumulativeSizes,
             std::vector<std::int32_t>* hits, SVCancelInfo* cancelInfo) {
  std::erase_if(*points, [](double point) { return std::isnan(point); });
  std::sort(points->begin(), points->end());
  std::size_t before = CountUpTo(*points, 0.0, 0);
  for (std::size_t i = 0; i < cumulativeSizes.size(); ++i) {
    if (cancelInfo->IsCancelled()) return false;
    const std::size_t upTo = CountUpTo(*points, cumulativeSizes[i], before);
    if (upTo > before) (*hits)[i] += static_cast<std::int32_t>(upTo - before);
    before = upTo;
  }
  return true;
}
