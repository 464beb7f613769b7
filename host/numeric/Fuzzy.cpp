#include "host/numeric/Fuzzy.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {
constexpr double kWholeTolerance = 1e-9;  // relative to max(1, |number|): what a decimal text loses at worst
}

int FUZZYINTEGER(const double* number) {
  if (!std::isfinite(*number)) return 0;
  const double distance = std::fabs(*number - std::round(*number));
  return distance <= kWholeTolerance * std::max(1.0, std::fabs(*number)) ? 1 : 0;
}

double FUZZYROUND(const double* number) {
  return std::round(*number);
}

bool IsValidInteger(double value) {
  return std::isfinite(value) && std::trunc(value) == value;
}

std::int32_t TruncateToInt32(double value) {
  constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
  constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
  if (std::isnan(value)) return 0;
  return static_cast<std::int32_t>(std::clamp(value, kLowest, kHighest));
}
