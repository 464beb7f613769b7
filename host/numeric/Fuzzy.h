#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

// Doubles that are meant to be whole numbers. A count from a data file may have been computed (0.1 * 30) and
// is accepted when it is close to whole; a count in a plan or command was written as such and must be exact.

// Nonzero when *number is within 1e-9 of a whole number, relative to max(1, |*number|); 0 for NaN,
// infinities.
int FUZZYINTEGER(const double* number);

// The nearest whole number; halves round away from zero.
double FUZZYROUND(const double* number);

// Whether `value` is exactly a whole number, of any size. False for infinities and NaN.
bool IsValidInteger(double value);

// `value` truncated toward zero and clamped to 32 bits; NaN gives 0. Unlike a cast, never undefined.
inline std::int32_t TruncateToInt32(double value) {
  constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
  constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
  return value == value ? static_cast<std::int32_t>(std::clamp(value, kLowest, kHighest)) : 0;
}
