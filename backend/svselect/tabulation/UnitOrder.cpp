#include "backend/svselect/tabulation/UnitOrder.h"

#include <algorithm>
#include <numeric>
#include <utility>

void UnitOrder::AddUnit(std::int32_t stratum, const MCCommon::RecordBlock& block, std::uint32_t row) {
  const auto number = static_cast<std::size_t>(stratum);
  if (number == fvValues.size()) fvValues.emplace_back();
  for (std::size_t key = 0; key < fvKeys.size(); ++key) fvValues[number].push_back(ValueIn(block, key, row));
}

bool UnitOrder::IsSame(std::int32_t stratum, std::int32_t unit, const MCCommon::RecordBlock& block,
                       std::uint32_t row) const {
  const double* const values =
      fvValues[static_cast<std::size_t>(stratum)].data() + static_cast<std::size_t>(unit) * fvKeys.size();
  for (std::size_t key = 0; key < fvKeys.size(); ++key) {
    if (values[key] != ValueIn(block, key, row)) return false;
  }
  return true;
}

void UnitOrder::RankTexts(const TextRanks& ranks) {
  for (std::size_t key = 0; key < fvKeys.size() && ranks != nullptr; ++key) {
    if (!fvKeys[key].isText) continue;
    const std::vector<std::int32_t> ofCodes = ranks(fvKeys[key].variable);
    for (std::vector<double>& values : fvValues) {
      for (std::size_t i = key; i < values.size(); i += fvKeys.size())
        values[i] = ofCodes[static_cast<std::size_t>(values[i]) - 1];
    }
  }
}

std::vector<std::int32_t> UnitOrder::TakeOrder(std::size_t stratum) {
  const std::vector<double> values = std::exchange(fvValues[stratum], {});
  return OrderUnits(values, fvKeys, fbSerpentine);
}

// Key by key. Before the first one all units are one run, whose units are equal in no key; each run is sorted by
// the next key, and falls into runs that are equal in it as well.
std::vector<std::int32_t> OrderUnits(std::span<const double> values,
                                     const std::vector<DesignStage::OrderKey>& keys, bool isSerpentine) {
  std::vector<std::int32_t> order(values.size() / keys.size());
  std::iota(order.begin(), order.end(), 0);
  std::vector<std::ptrdiff_t> ends = {static_cast<std::ptrdiff_t>(order.size())};  // of the runs
  for (std::size_t key = 0; key < keys.size(); ++key) {
    const auto valueOf = [&](std::int32_t unit) {
      return values[static_cast<std::size_t>(unit) * keys.size() + key];
    };
    std::vector<std::ptrdiff_t> nextEnds;
    std::ptrdiff_t begin = 0;
    for (std::size_t run = 0; run < ends.size(); ++run) {
      const bool isReversed = keys[key].isDescending != (isSerpentine && run % 2 == 1);
      std::stable_sort(order.begin() + begin, order.begin() + ends[run], [&](std::int32_t a, std::int32_t b) {
        return isReversed ? valueOf(a) > valueOf(b) : valueOf(a) < valueOf(b);
      });
      for (std::ptrdiff_t at = begin + 1; at < ends[run]; ++at) {
        if (valueOf(order[static_cast<std::size_t>(at)]) != valueOf(order[static_cast<std::size_t>(at) - 1]))
          nextEnds.push_back(at);
      }
      nextEnds.push_back(ends[run]);
      begin = ends[run];
    }
    ends = std::move(nextEnds);
  }
  return order;
}
