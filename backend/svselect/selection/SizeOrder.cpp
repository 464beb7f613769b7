#include "backend/svselect/selection/SizeOrder.h"

#include <algorithm>
#include <cmath>

double SizeBounds::Apply(double size) const {
  if (size == MCMV::gMissingValue) return size;
  if (minimum > 0.0 && minimum > size) return minimum;
  return maximum > 0.0 ? std::min(maximum, size) : size;
}

void BoundSizes(SVSUnits* units, const SizeBounds& bounds) {
  if (!bounds.Any()) return;
  for (std::int32_t unit = 0; unit < units->Count(); ++unit) {
    units->SetSize(unit, bounds.Apply(units->SizeOf(unit)));
  }
}

void SortBySize(SVSUnits* units, bool exact) {
  const auto rank = [units, exact](std::int32_t unit) {
    const double size = units->SizeOf(unit);
    return exact ? size : std::trunc(size);
  };
  units->Sort([units, rank](std::int32_t a, std::int32_t b) {
    const double rankA = rank(a);
    const double rankB = rank(b);
    return rankA != rankB ? rankA < rankB : units->HasLowerKey(a, b);
  });
}
