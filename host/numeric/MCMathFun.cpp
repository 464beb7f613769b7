#include "host/numeric/MCMathFun.h"

#include <algorithm>
#include <cassert>

namespace MCCommonMath {

int MCMathFun::BinSearch(std::span<const double> list, int low, int high, double value, bool) {
  assert(0 <= low && low <= high && high < static_cast<int>(list.size()));
  // The search leaves out entry `high`: that is the answer anyway when no earlier entry is greater.
  const auto first = list.begin() + low;
  return static_cast<int>(std::upper_bound(first, list.begin() + high, value) - list.begin());
}

}  // namespace MCCommonMath
