#pragma once

#include "backend/svselect/selection/SVSUnits.h"

// What is done to the measures of size of a stratum's units when its selection begins.

// The bounds of the measures of size; only a positive one bounds.
struct SizeBounds {
  double minimum = -1.0;
  double maximum = -1.0;

  bool Any() const { return minimum > 0.0 || maximum > 0.0; }
  // The size within the bounds. A missing size stays as it is, and a size raised to the minimum isn't held
  // against the maximum.
  double Apply(double size) const;
};

// Keeps the sizes of all units within the bounds.
void BoundSizes(SVSUnits* units, const SizeBounds& bounds);

// The order of PPS_WOR: ascending by the whole part of the size, with `exact` by the size itself; units that
// are equal in this by their keys.
void SortBySize(SVSUnits* units, bool exact);
