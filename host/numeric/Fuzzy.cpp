#include "host/numeric/Fuzzy.h"

#include <algorithm>
#include <cmath>

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
