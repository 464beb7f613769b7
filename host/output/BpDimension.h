#pragma once

#include "host/output/BpGroup.h"

// Values of the place of a dimension.
inline constexpr int kPlaceRow = 0;
inline constexpr int kPlaceColumn = 1;

// A dimension of a table, and the group of its outermost categories.
class BpDimension : public BpGroup {
public:
  using BpGroup::BpGroup;

  // Dimensions of one place nest by `index`, the lowest innermost. With `hideLabel` a printed table doesn't
  // show the dimension's own label.
  void Position(int place, int index, bool hideLabel, bool) const;
};
