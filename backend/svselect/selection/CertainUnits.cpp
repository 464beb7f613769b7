#include "backend/svselect/selection/CertainUnits.h"

#include <algorithm>

#include "host/numeric/Obs.h"

namespace {

// The second comparison is for a product that is rounded up: the draw computes probabilities in this way.
bool IsCertain(double size, double total, std::int32_t left, double share) {
  return size > 0.0 && (size >= share * (total / left) || left * (size / total) >= 1.0);
}

}  // namespace

CertainUnits FindCertainUnits(std::span<const double> sizes, std::int32_t requested, double share) {
  CertainUnits found{.isCertain = std::vector<std::uint8_t>(sizes.size()), .left = requested};
  for (bool isFound = true; isFound;) {
    isFound = false;
    found.totalLeft = 0.0;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      if (found.isCertain[i] == 0) found.totalLeft += sizes[i];
    }
    const std::int32_t left = found.left;
    if (left <= 0 || !(found.totalLeft > 0.0)) break;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      if (found.isCertain[i] != 0 || !IsCertain(sizes[i], found.totalLeft, left, share)) continue;
      found.isCertain[i] = 1;
      isFound = true;
      ++found.count;
      --found.left;
    }
  }
  return found;
}

std::int32_t SetCertainApart(SVSUnits* units, std::int32_t requested, double share) {
  std::vector<double> sizes;
  sizes.reserve(static_cast<std::size_t>(units->Count()));
  for (std::int32_t position = 0; position < units->Count(); ++position) {
    sizes.push_back(units->SizeOf(units->UnitAt(position)));
    if (sizes.back() == MCMV::gMissingValue) return requested;
  }
  const CertainUnits found = FindCertainUnits(sizes, requested, share);
  if (found.count > 0) units->SetApart(found.isCertain);
  return found.LacksUnits() ? 0 : std::max(found.left, 0);
}
