#include "backend/svselect/selection/SVSUnits.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "host/numeric/MCMathFun.h"

using MCMV::gMissingValue;

std::int32_t SVSUnits::Add(const std::int32_t* key, double size) {
  if (fCount == 0) fCommonSize = size;
  if (fvSizes.empty() && size != fCommonSize) fvSizes.assign(static_cast<std::size_t>(fCount), fCommonSize);
  if (size != fCommonSize || !fvSizes.empty()) fvSizes.push_back(size);
  fvKeys.insert(fvKeys.end(), key, key + fKeyLength);
  return fCount++;
}

void SVSUnits::SetSize(std::int32_t unit, double size) {
  if (size == SizeOf(unit)) return;
  if (fvSizes.empty()) fvSizes.assign(static_cast<std::size_t>(fCount), fCommonSize);
  fvSizes[static_cast<std::size_t>(unit)] = size;
}

bool SVSUnits::CheckOtherSize(std::int32_t unit, double size, double value) {
  if (size == gMissingValue) {
    SetSize(unit, value);
    return value == gMissingValue;
  }
  if (value == gMissingValue) return false;
  // Relative to the size itself: a negative one has a negative tolerance, which nothing meets.
  const double tolerance = 2.0 * size * MCCommonMath::MCPower::gMachineEpsilon;
  return !(std::fabs(size - value) > tolerance);
}

SVKey SVSUnits::KeyOf(std::int32_t unit) const {
  SVKey key(static_cast<std::int32_t>(fKeyLength));
  const std::size_t first = static_cast<std::size_t>(unit) * fKeyLength;
  for (std::int32_t i = 0; i < key.Length(); ++i) key[i] = fvKeys[first + static_cast<std::size_t>(i)];
  key.ComputeHash();
  return key;
}

bool SVSUnits::HasLowerKey(std::int32_t a, std::int32_t b) const {
  const auto keyOf = [this](std::int32_t unit) {
    return fvKeys.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(unit) * fKeyLength);
  };
  const auto length = static_cast<std::ptrdiff_t>(fKeyLength);
  return std::lexicographical_compare(keyOf(a), keyOf(a) + length, keyOf(b), keyOf(b) + length);
}

void SVSUnits::SetApart(const std::vector<std::uint8_t>& isApart) {
  std::vector<std::int32_t> order;
  order.reserve(isApart.size());
  for (const std::uint8_t apart : {0, 1}) {
    for (std::size_t position = 0; position < isApart.size(); ++position) {
      if (isApart[position] == apart) order.push_back(UnitAt(static_cast<std::int32_t>(position)));
    }
  }
  fvOrder = std::move(order);
  fApart = static_cast<std::int32_t>(std::count(isApart.begin(), isApart.end(), std::uint8_t{1}));
}

// Stable, so that the last of several results of a unit is behind the others, and stays.
void SVSUnits::FinishResults() {
  const auto isBefore = [](const Result& a, const Result& b) { return a.unit < b.unit; };
  if (!std::is_sorted(fvResults.begin(), fvResults.end(), isBefore))
    std::stable_sort(fvResults.begin(), fvResults.end(), isBefore);
  const auto isSame = [](const Result& a, const Result& b) { return a.unit == b.unit; };
  // From behind, as unique() keeps the first of each run.
  const auto last = std::unique(fvResults.rbegin(), fvResults.rend(), isSame);
  fvResults.erase(fvResults.begin(), last.base());
  fvResults.shrink_to_fit();
}

const SVSUnits::Result* SVSUnits::ResultOf(std::int32_t unit) const {
  const auto found = std::lower_bound(fvResults.begin(), fvResults.end(), unit,
                                      [](const Result& result, std::int32_t u) { return result.unit < u; });
  return found == fvResults.end() || found->unit != unit ? nullptr : &*found;
}
