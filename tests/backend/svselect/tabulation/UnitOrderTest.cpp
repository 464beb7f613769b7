#include "backend/svselect/tabulation/UnitOrder.h"

#include <gmock/gmock.h>

#include <random>
#include <set>

#include "host/numeric/Obs.h"

using testing::ElementsAre;
using Keys = std::vector<DesignStage::OrderKey>;

namespace {

constexpr double kMissing = MCMV::gMissingValue;

Keys KeysOf(const std::vector<bool>& areDescending) {
  Keys keys;
  for (const bool isDescending : areDescending) keys.push_back({.variable = 0, .isDescending = isDescending});
  return keys;
}

// As the words have it: runs, each cut into the runs of its values in their order.
std::vector<std::int32_t> SlowOrder(const std::vector<double>& values, const Keys& keys, bool isSerpentine) {
  const std::size_t width = keys.size();
  std::vector<std::vector<std::int32_t>> runs(1);
  for (std::size_t unit = 0; unit < values.size() / width; ++unit) runs[0].push_back(static_cast<int>(unit));
  for (std::size_t key = 0; key < width; ++key) {
    std::vector<std::vector<std::int32_t>> next;
    for (std::size_t run = 0; run < runs.size(); ++run) {
      const auto valueOf = [&](std::int32_t unit) {
        return values[static_cast<std::size_t>(unit) * width + key];
      };
      std::set<double> different;
      for (const std::int32_t unit : runs[run]) different.insert(valueOf(unit));
      std::vector<double> ordered(different.begin(), different.end());
      const bool isOdd = isSerpentine && run % 2 == 1;
      if (keys[key].isDescending ? !isOdd : isOdd) std::reverse(ordered.begin(), ordered.end());
      for (const double value : ordered) {
        next.emplace_back();
        for (const std::int32_t unit : runs[run]) {
          if (valueOf(unit) == value) next.back().push_back(unit);
        }
      }
    }
    runs = next;
  }
  std::vector<std::int32_t> order;
  for (const auto& run : runs) order.insert(order.end(), run.begin(), run.end());
  return order;
}

}  // namespace

TEST(OrderUnits, IsNestedAndStable) {
  const std::vector<double> values = {2, 5, 1, 7, 2, 6, 1, kMissing, 2, 5, 3, 1};  // six units by two keys
  EXPECT_THAT(OrderUnits(values, KeysOf({false, false}), false), ElementsAre(3, 1, 0, 4, 2, 5));
  EXPECT_THAT(OrderUnits(values, KeysOf({false, true}), false), ElementsAre(1, 3, 2, 0, 4, 5));
  EXPECT_THAT(OrderUnits(values, KeysOf({true, false}), false), ElementsAre(5, 0, 4, 2, 3, 1));
  EXPECT_THAT(OrderUnits(values, KeysOf({false, false}), true), ElementsAre(3, 1, 2, 0, 4, 5));
}

TEST(OrderUnits, AgreesWithSlowOrder) {
  std::mt19937 engine(4);
  const auto below = [&](unsigned n) { return static_cast<unsigned>(engine() % n); };
  for (int round = 0; round < 500; ++round) {
    std::vector<bool> areDescending(1 + below(4));
    for (auto isDescending : areDescending) isDescending = below(2) == 0;
    std::vector<double> values(areDescending.size() * below(40));
    for (double& value : values) value = below(8) == 0 ? kMissing : below(3);
    const Keys keys = KeysOf(areDescending);
    for (const bool isSerpentine : {false, true})
      ASSERT_EQ(OrderUnits(values, keys, isSerpentine), SlowOrder(values, keys, isSerpentine));
  }
}
