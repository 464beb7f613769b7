#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "host/numeric/MCMathFun.h"

// Drawing a position with the probabilities behind a cumulative list.

// The 0-based position in low..high that `u` falls to: the first whose entry is greater, `high` when rounding
// left none.
inline std::int32_t FindPosition(std::span<const double> cumulative, std::int32_t low, std::int32_t high,
                                 double u) {
  return MCCommonMath::MCMathFun::BinSearch(cumulative, low, high, u, true);
}

// Whether `u` really lies in the interval of a position found; that of `low` begins at 0. False only where
// rounding left the last entry below `u`, or for sizes that make the list not ascend.
inline bool LiesInInterval(std::span<const double> cumulative, std::int32_t low, std::int32_t position,
                           double u) {
  const double begin = position > low ? cumulative[static_cast<std::size_t>(position) - 1] : 0.0;
  return !(u < begin) && u < cumulative[static_cast<std::size_t>(position)];
}
