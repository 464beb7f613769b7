#pragma once

#include <limits>

// Constants of the machine's arithmetic.
namespace MCCommonMath::MCPower {
inline constexpr double gMachineEpsilon = std::numeric_limits<double>::epsilon();
inline constexpr int gMachineMaxInt = std::numeric_limits<int>::max();  // bound of a generated seed
}  // namespace MCCommonMath::MCPower
