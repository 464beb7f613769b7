#include <gmock/gmock.h>

#include <sstream>

#include "host/numeric/Obs.h"
#include "report/Figures.h"
#include "report/WeightSummary.h"

namespace {

constexpr double kMissing = MCMV::gMissingValue;

WeightSummary SummaryOf(const std::vector<double>& weights) {
  return SummarizeWeights([&](const auto& take) {
    for (const double weight : weights) take(weight);
  });
}

}  // namespace

// Worked by hand. 1, 2, 3, 6: mean 3, squares about it 4 + 1 + 0 + 9 = 14, cv^2 = 14 / 4 / 9; and by the
// other form of the design effect, 4 * (1 + 4 + 9 + 36) / 12^2 = 200 / 144.
TEST(WeightSummary, AgreesWithHandWork) {
  using Numbers = std::vector<double>;
  using Counts = std::vector<std::int64_t>;
  struct Case {
    const char* aim;
    Numbers weights;
    double sum, mean, smallest, largest, designEffect;
    Numbers edges = {};
    Counts bins = {};
  };
  const Case kCases[] = {
      {"none", {}, 0, 0, 0, 0, 1},
      {"only missing ones", {kMissing, kMissing}, 0, 0, 0, 0, 1},
      {"equal ones", {2.5, 2.5, kMissing}, 5, 2.5, 2.5, 2.5, 1},
      {"equal but for rounding", {0.3, 0.1 + 0.2}, 0.6, 0.3, 0.3, 0.3, 1},
      {"equal, their mean not quite", {0.1, 0.1, 0.1}, 0.1 + 0.1 + 0.1, 0.1, 0.1, 0.1, 1},
      {"uneven ones", Numbers{6, 1, kMissing, 3, 2}, 12, 3, 1, 6, 200.0 / 144.0,
       Numbers{1, 1.5, 2, 2.5, 3, 3.5, 4, 4.5, 5, 5.5, 6, 6.5}, Counts{1, 0, 1, 0, 1, 0, 0, 0, 0, 0, 1}},
      {"orders of magnitude", Numbers{1, 1, 4, 100}, 106, 26.5, 1, 100, 4.0 * 10018.0 / (106.0 * 106.0),
       Numbers{1, 2, 5, 10, 20, 50, 100, 200}, Counts{2, 1, 0, 0, 0, 0, 1}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const WeightSummary summary = SummaryOf(c.weights);
    const Numbers found = {summary.sum, summary.mean, summary.smallest, summary.largest,
                           summary.designEffect};
    const Numbers expected = {c.sum, c.mean, c.smallest, c.largest, c.designEffect};
    EXPECT_THAT(found, testing::Pointwise(testing::DoubleEq(), expected));
    EXPECT_NEAR(1.0 + summary.cv * summary.cv, c.designEffect, 1e-15);
    EXPECT_EQ(summary.cv == 0, c.designEffect == 1);
    EXPECT_THAT(summary.edges, testing::Pointwise(testing::DoubleNear(1e-12), c.edges));
    EXPECT_EQ(summary.bins, c.bins);
  }
}

// Each weight is in one bin, the bins are few, and the picture stands, whatever the weights are: a frame can
// bring any weight of an earlier draw along.
TEST(WeightSummary, TakesAnyWeights) {
  std::vector<double> rare(100'000, 1.0);
  rare.back() = 2.0;
  const std::vector<double> kCases[] = {
      rare,    {1e-320, 2e-320}, {1e308, 1.5e308}, {1e-300, 1e300},
      {-5, 5}, {0, 1e-9},        {1, 1 + 1e-8},    {0.1, 99.99, 1e7},
  };
  for (const std::vector<double>& weights : kCases) {
    SCOPED_TRACE(weights.back());
    const WeightSummary summary = SummaryOf(weights);
    std::int64_t inBins = 0;
    for (const std::int64_t bin : summary.bins) inBins += bin;
    EXPECT_EQ(inBins, summary.bins.empty() ? 0 : static_cast<std::int64_t>(weights.size()));
    EXPECT_LE(summary.bins.size(), 27U);
    std::ostringstream out;
    WriteWeightFigure(summary, "w", out);
    EXPECT_EQ(out.str().find("nan"), std::string::npos);
    EXPECT_EQ(out.str().find("height=\"0\""), std::string::npos) << "one case among many is still seen";
  }
}
