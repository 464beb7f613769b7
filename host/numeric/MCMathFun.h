#pragma once

#include <limits>
#include <span>

// Constants of the machine's arithmetic.
namespace MCCommonMath::MCPower {
inline constexpr double gMachineEpsilon = std::numeric_limits<double>::epsilon();
inline constexpr int gMachineMaxInt = std::numeric_limits<int>::max();  // bound of a generated seed
}  // namespace MCCommonMath::MCPower

namespace MCCommonMath {

class MCMathFun {
public:
  // The 0-based position in low..high of the first entry greater than `value`, on an ascending list; `high`
  // when no entry there is greater. The last argument is always true. REQUIRES: 0 <= low <= high <
  // list.size().
  static int BinSearch(std::span<const double> list, int low, int high, double value, bool);
};

}  // namespace MCCommonMath
