#include <gtest/gtest.h>

#include <numeric>

#include "StratumDraw.h"
#include "backend/svselect/selection/MethodFunctions.h"

namespace {

// The probabilities for a stratum of these sizes, which are in the order of the draw.
std::vector<double> DrawnProbs(MethodType method, const std::vector<double>& sizes, int n) {
  std::vector<double> shares;
  std::vector<double> cumulative;
  const double total = std::accumulate(sizes.begin(), sizes.end(), 0.0);
  for (const double size : sizes) {
    shares.push_back(size / total);
    cumulative.push_back(shares.back() + (cumulative.empty() ? 0.0 : cumulative.back()));
  }
  return FunctionsOf(method).drawnProbs({.units = static_cast<int>(sizes.size()),
                                         .requested = n,
                                         .sizes = sizes,
                                         .shares = shares,
                                         .cumulativeShares = cumulative,
                                         .totalSize = total});
}

}  // namespace

// The engine's own draws meet them. PPS_WOR with whole parts alike keeps the order of the list, so fractions bring it out of order: the last two rows make negative steps.
TEST(DrawnProbs, AreThoseOfTheDraw) {
  const std::vector<double> oneToSeven = {1, 2, 3, 4, 5, 6, 7};
  const struct {
    MethodType method;
    std::vector<double> sizes;
    int n;
  } kCases[] = {
      {kMethodPpsBrewer, oneToSeven, 2},
      {kMethodPpsSampford, oneToSeven, 3},
      {kMethodPpsSampford, {0, 1, 2, 3, 4, 5}, 2},
      {kMethodPpsWor, {1, 2, 3, 4, 5}, 2},
      {kMethodPpsWor, {0.9, 0.9, 0.2, 0.4, 0.4}, 2},
      {kMethodPpsWor, {0.3, 0.5, 0.2, 0.9, 0.4, 1.1}, 2},
      {kMethodPpsWor, {0.5, 0.2, 0.6, 0.9, 0.3, 1.2}, 3},
      {kMethodPpsWor, {0.9, 0.1, 0.8, 0.7, 0.2, 0.6, 0.3, 0.8}, 4},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.sizes) + testing::PrintToString(c.n));
    const std::vector<double> probs = DrawnProbs(c.method, c.sizes, c.n);
    ASSERT_EQ(probs.size(), c.sizes.size());
    EXPECT_LT(DeviationOfDraws({c.method, c.sizes, c.n, false, 20000}, probs), 60)
        << testing::PrintToString(probs);
  }
}

// Sizes without probabilities, and strata that would take long, have none.
TEST(DrawnProbs, AreLeftOutWhereTheyMeanOrCostTooMuch) {
  for (const MethodType method : {kMethodPpsWor, kMethodPpsSampford}) {
    EXPECT_TRUE(DrawnProbs(method, {-1, 2, 3, 4}, 2).empty());
    EXPECT_TRUE(DrawnProbs(method, std::vector<double>(5000, 1.0), 100).empty());
  }
}
