#pragma once

#include <cstdint>

// Whole numbers among doubles.

// Not 0 when *number is a whole number within 1e-9, relative to the larger of 1 and its size.
int FUZZYINTEGER(const double* number);

// The nearest whole number; halves away from zero.
double FUZZYROUND(const double* number);

// True when `value` is a whole number, exactly. Infinities and NaN aren't.
bool IsValidInteger(double value);

// `value` truncated toward zero to 32 bits. What lies beyond 32 bits saturates; NaN gives 0.
std::int32_t TruncateToInt32(double value);
