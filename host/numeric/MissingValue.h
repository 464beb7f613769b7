#pragma once

#include <limits>

// The system-missing value: the most negative finite double. Tested by equality; never 0 and never NaN.
namespace MCMV {
inline constexpr double gMissingValue = std::numeric_limits<double>::lowest();
}  // namespace MCMV
