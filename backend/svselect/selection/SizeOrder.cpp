#include "backend/svselect/selection/SizeOrder.h"

#include <algorithm>
#include <cmath>

double SizeBounds::Apply(double size) const {
  if (size == MCMV::gMissingValue) return size;
  if (minimum > 0.0 && minimum > size) return minimum;
  return maximum > 0.0 ? std::min(maximum, size) : size;
}

void BoundSizes(const ClusterPairs& units, const SizeBounds& bounds) {
  if (!bounds.Any()) return;
  for (ClusterTable::Entry* unit : units) unit->value.SetSize(bounds.Apply(unit->value.GetSize()));
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
