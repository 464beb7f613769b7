#include "backend/svselect/selection/SizeOrder.h"

#include <algorithm>
#include <cmath>

void BoundSizes(const ClusterPairs& units, double minimum, double maximum) {
  const bool bMinimum = minimum != MCMV::gMissingValue && minimum > 0.0;
  const bool bMaximum = maximum != MCMV::gMissingValue && maximum > 0.0;
  if (!bMinimum && !bMaximum) return;
  for (ClusterTable::Entry* unit : units) {
    const double size = unit->value.GetSize();
    if (size == MCMV::gMissingValue) continue;
    if (bMinimum && minimum > size) {
      unit->value.SetSize(minimum);
    } else if (bMaximum) {
      unit->value.SetSize(std::min(maximum, size));
    }
  }
}

void SortBySize(ClusterPairs* units, bool exact) {
  const auto rank = [exact](const ClusterTable::Entry* unit) {
    return exact ? unit->value.GetSize() : std::trunc(unit->value.GetSize());
  };
  std::sort(units->begin(), units->end(), [rank](const ClusterTable::Entry* a, const ClusterTable::Entry* b) {
    const double rankA = rank(a);
    const double rankB = rank(b);
    return rankA != rankB ? rankA < rankB : a->key < b->key;
  });
}
