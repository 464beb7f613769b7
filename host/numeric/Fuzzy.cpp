#include "host/numeric/Fuzzy.h"

#include <algorithm>
#include <cmath>

namespace {
// Relative to max(1, |number|). Far more than a few roundings of a double lose, far less than any fraction
// that a user would write for a count.
constexpr double kWholeTolerance = 1e-9;
}  // namespace

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
