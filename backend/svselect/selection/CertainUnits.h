#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "backend/svselect/selection/SVSUnits.h"

// Certainty units: units too large to be drawn in proportion to their size, which are taken for certain.
//
// With n units asked for of a total size X, a unit of size x has the inclusion probability n x / X, which can't
// be above 1. So units with n x >= c X are taken, c being 1 or a smaller share; n falls by their number, X by
// their sizes, and the rest is looked at again, until no unit is left that is too large. What is drawn of the
// rest by any method then has probabilities below 1 that add up to what is left of n.
//
// Source:   [Sarndal92] in docs/BIBLIOGRAPHY.md, section 3.6.2.
// Accuracy: the totals are summed in list order over the rest, as the draw sums them, so that no draw finds a
//           size above its limit that is within it here.
// Cost:     a look at each unit in each round, of which there are few but for sizes of many magnitudes.
struct CertainUnits {
  std::vector<std::uint8_t> isCertain{};  // by place in the list
  std::int32_t count = 0;
  std::int32_t left =
      0;  // n - count; below 0 where a share below 1 makes more units certain than are asked for
  double totalLeft = 0.0;  // of the sizes of the others

  // Units that could be drawn, and never are: none is left for them.
  bool LeavesOut() const { return left < 0 || (left == 0 && totalLeft > 0.0); }
  // None that could be drawn, though some are asked for.
  bool LacksUnits() const { return left > 0 && !(totalLeft > 0.0); }
};

// REQUIRES: no size is missing.
CertainUnits FindCertainUnits(std::span<const double> sizes, std::int32_t requested, double share);

// Sets the certain units of a stratum apart from the list that is drawn from. Returns how many are left to be
// drawn, at least 0. Changes nothing where a size is missing, which the draw reports.
std::int32_t SetCertainApart(SVSUnits* units, std::int32_t requested, double share);
