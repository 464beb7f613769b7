#pragma once

#include <limits>
#include <span>

namespace MCCommonMath::MCPower {
inline constexpr double gMachineEpsilon = std::numeric_limits<double>::epsilon();  // 2^-52
inline constexpr int gMachineMaxInt = std::numeric_limits<int>::max();             // largest seed
}  // namespace MCCommonMath::MCPower

namespace MCCommonMath {

class MCMathFun {
public:
  // Position of the first entry in low..high (0-based, inclusive) that is greater than `value`, or `high`
  // when there is none: a random number that rounding pushed past the last cumulative sum selects the last
  // unit. The last argument is always true. REQUIRES: 0 <= low <= high < list.size(), list[low..high]
  // ascends.
  static int BinSearch(std::span<const double> list, int low, int high, double value, bool);
};

}  // namespace MCCommonMath
