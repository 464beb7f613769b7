#include "backend/svselect/selection/SVSClusterData.h"

#include <cmath>

using MCMV::gMissingValue;

// Goal: what a unit's further records do to its size, and which of them disagree.
TEST(SVSClusterData, ChecksSizes) {
  const double justAbove = std::nextafter(7.0, 8.0);
  const struct {
    const char* aim;
    std::vector<double> values;  // of the first record, then of the others
    double size;
    std::vector<int> results;
  } kCases[] = {
      {"all missing", {gMissingValue, gMissingValue, gMissingValue}, gMissingValue, {-1, -1}},
      {"missing, then present", {gMissingValue, 7, 7}, 7, {0, -1}},
      {"present, then missing", {7, gMissingValue}, 7, {0}},
      {"within the tolerance", {7, justAbove, 7 - 7 * 4.4e-16}, 7, {-1, -1}},
      {"beyond the tolerance", {7, 7 + 7 * 7e-16, 6}, 7, {0, 0}},
      {"zero", {0, 0, 1e-300}, 0, {-1, 0}},
      {"a negative size equals nothing", {-1, -1}, -1, {0}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.aim);
    SVSClusterData unit(gMissingValue);
    EXPECT_EQ(unit.LoadSize(c.values.data(), {0}), c.values[0] != gMissingValue);
    std::vector<int> results;
    for (std::size_t i = 1; i < c.values.size(); ++i)
      results.push_back(unit.CheckSize(&c.values[i], {0, 99}));
    EXPECT_EQ(results, c.results);
    EXPECT_EQ(unit.GetSize(), c.size);
    EXPECT_EQ(unit.CheckSize(nullptr, {}), -1);  // without a variable no record is looked at
    EXPECT_TRUE(unit.LoadSize(nullptr, {}));
  }
}
