#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

// Whole numbers among doubles.

// Not 0 when *number is a whole number within 1e-9, relative to the larger of 1 and its size.
int FUZZYINTEGER(const double* number);

// The nearest whole number; halves away from zero.
double FUZZYROUND(const double* number);

// True when `value` is a whole number, exactly. Infinities and NaN aren't.
bool IsValidInteger(double value);

// `value` truncated toward zero to 32 bits. What lies beyond 32 bits saturates; NaN gives 0.
inline std::int32_t TruncateToInt32(double value) {
  constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
  constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
  return value == value ? static_cast<std::int32_t>(std::clamp(value, kLowest, kHighest)) : 0;
}
