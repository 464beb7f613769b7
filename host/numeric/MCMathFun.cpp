#include "host/numeric/MCMathFun.h"

#include <algorithm>
#include <cassert>

namespace MCCommonMath {

int MCMathFun::BinSearch(std::span<const double> list, int low, int high, double value, bool) {
  assert(0 <= low && low <= high && high < static_cast<int>(list.size()));
  // `high` itself need not be looked at: it is the answer whenever nothing before it is greater.
  const auto first = list.begin() + low;
  return static_cast<int>(std::upper_bound(first, list.begin() + high, value) - list.begin());
}

}  // namespace MCCommonMath
