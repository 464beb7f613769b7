#include <gtest/gtest.h>

#include <numeric>

#include "Outcomes.h"
#include "StratumDraw.h"
#include "backend/svcommon/design/MethodTable.h"

namespace {

void ExpectEach(const std::vector<double>& got, const std::vector<double>& wanted, double tolerance = 1e-12) {
  ASSERT_EQ(got.size(), wanted.size());
  for (std::size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], wanted[i], tolerance) << i;
}

const std::vector<double> kOneToSeven = {1, 2, 3, 4, 5, 6, 7};

}  // namespace

// Goal: over all outcomes the inclusion probabilities are the stated ones, for sizes near each border.
TEST(DesignProbabilities, AreTheStatedOnes) {
  const std::vector<double> kSizes[] = {kOneToSeven,     {1, 1, 1, 1},    {0.2, 0.4, 0.5, 0.7, 0.9},
                                        {1, 2, 3, 3, 3}, {0, 1, 5, 5, 6}, {1e-8, 1, 1, 1.5}};
  for (const auto& sizes : kSizes) {
    for (const int n : {1, 2, 3}) {
      SCOPED_TRACE(testing::PrintToString(std::pair(sizes, n)));
      const Outcomes stratum(sizes);
      if (n * sizes.back() >= std::accumulate(sizes.begin(), sizes.end(), 0.0)) continue;
      ExpectEach(Outcomes(sizes).PpsWor(n).Single(), stratum.Stated(n));
      ExpectEach(Outcomes(sizes).ExactSampford(n).Single(), stratum.Stated(n));
      ExpectEach(Outcomes(sizes).Sequential(n).Single(), stratum.Stated(n));
    }
    std::vector<double> shares = Outcomes(sizes).Stated(1);
    const std::vector<double> murthy = MurthyInclProbs(shares);
    ExpectEach(Outcomes(sizes).Murthy().Single(), murthy);
    EXPECT_NEAR(std::accumulate(murthy.begin(), murthy.end(), 0.0), 2.0, 1e-12);
  }
}

// Goal: the two designs whose probabilities aren't in proportion to size, by numbers worked apart from this
// code.
TEST(DesignProbabilities, OfTwoDrawsAreTheKnownOnes) {
  ExpectEach(MurthyInclProbs(std::vector<double>{0.5, 0.3, 0.2}), {0.839286, 0.675, 0.485714}, 5e-7);
  ExpectEach(Outcomes(kOneToSeven).TwoByAttempts().Single(),
             {0.064677, 0.132177, 0.203018, 0.277756, 0.356848, 0.440172, 0.525353}, 5e-7);
}

// Goal: the engine draws by these probabilities.
TEST(DesignProbabilities, AreMetByFrequencies) {
  const auto probsOf = [](const SVMethod& method, bool exact) {
    if (method.code == kMethodPpsMurthy) return Outcomes(kOneToSeven).Murthy().Single();
    if (method.statedProbs == StatedProbs::kApproached && !exact) {
      return Outcomes(kOneToSeven).TwoByAttempts().Single();
    }
    std::vector<double> probs(7, 2.0 / 7);
    if (!method.equalProbability) probs = Outcomes(kOneToSeven).Stated(2);
    if (!method.withReplacement) return probs;
    for (double& p : probs) p -= p * p / 4;  // 1 - (1 - p / 2)^2
    return probs;
  };
  for (const SVMethod& method : kMethods) {
    for (const bool exact : {false, true}) {
      const std::vector<double> sizes = method.equalProbability ? std::vector<double>(7, 1.0) : kOneToSeven;
      const double deviation = DeviationOfDraws({method.code, sizes, 2, exact, 5000}, probsOf(method, exact));
      EXPECT_LT(deviation, 60) << method.word << exact;
    }
  }
}
