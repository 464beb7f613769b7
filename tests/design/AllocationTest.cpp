#include "design/Allocation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <functional>
#include <limits>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Strata = std::vector<AllocationStratum>;
using Sizes = std::vector<std::int64_t>;

Strata Named(Strata strata) {
  for (std::size_t h = 0; h < strata.size(); ++h) strata[h].name = std::string(1, static_cast<char>('A' + h));
  return strata;
}

// [Cochran77], section 5.6, Table 5.1 and the text below it: inhabitants of 64 large cities in 1930, in two
// strata, n = 24.
const Strata kCities = Named({{.units = 16, .deviation = std::sqrt(53843)},  //
                              {.units = 48, .deviation = std::sqrt(5581)}});

// [Lohr19], section 3.4, example of Neyman allocation: the caribou herd of Siniff and Skoog (1964).
const Strata kCaribou = Named({{.units = 400, .deviation = 3000},
                               {.units = 30, .deviation = 2000},
                               {.units = 61, .deviation = 9000},
                               {.units = 18, .deviation = 2000},
                               {.units = 70, .deviation = 12000},
                               {.units = 120, .deviation = 1000}});

Allocation Spread(AllocationRule rule, std::int64_t n, const Strata& strata, double exponent = 1.0) {
  return Allocate({.rule = rule, .n = n, .exponent = exponent}, strata);
}

TEST(Allocation, AgreesWithPublishedExamples) {
  EXPECT_THAT(Spread(AllocationRule::kProportional, 24, kCities).sizes, ElementsAre(6, 18));
  EXPECT_THAT(Spread(AllocationRule::kNeyman, 24, kCities).sizes, ElementsAre(12, 12));
  // The variances of the estimated total that the book gives for the two.
  EXPECT_NEAR(TotalVariance(kCities, Sizes{6, 18}), 1882293, 1);
  EXPECT_NEAR(TotalVariance(kCities, Sizes{12, 12}), 1090827, 1);
  EXPECT_THAT(Spread(AllocationRule::kNeyman, 225, kCaribou).sizes, ElementsAre(96, 5, 44, 3, 67, 10));
}

// Goal: each rule's weight, bounds and rounding, worked out by hand.
TEST(Allocation, FollowsItsRuleWithinBounds) {
  struct Case {
    const char* aim;
    AllocationRequest request;
    Strata strata;
    Sizes sizes;
  };
  using enum AllocationRule;
  const Case kCases[] = {
      {"ties by order", {.rule = kEqual, .n = 8}, {{.units = 9}, {.units = 9}, {.units = 9}}, {3, 3, 2}},
      {"what one hasn't, the others give",
       {.rule = kEqual, .n = 14},
       {{.units = 2}, {.units = 90}, {.units = 90}},
       {2, 6, 6}},
      {"at the cap after a second round",  // 50 : 30 : 20 of 90 are 45, 27, 18; A gives 40, B would get 30 > 28
       {.rule = kNeyman, .n = 90},
       {{.units = 40, .deviation = 50. / 40},
        {.units = 28, .deviation = 30. / 28},
        {.units = 99, .deviation = 20. / 99}},
       {40, 28, 22}},
      {"a min and a max at once",  // 1 : 9 : 90 of 100, A up to 5, C down to 60: B gets the rest
       {.rule = kProportional, .n = 100},
       {{.units = 100, .least = 5}, {.units = 900}, {.units = 9000, .most = 60}},
       {5, 35, 60}},
      {"cost",  // 1 : 1 / 2 : 1 / 3
       {.rule = kOptimal, .n = 11},
       {{.units = 50, .deviation = 2, .cost = 1},
        {.units = 50, .deviation = 2, .cost = 4},
        {.units = 50, .deviation = 2, .cost = 9}},
       {6, 3, 2}},
      {"power 1/2 of the size, times variation",  // 1 * 0.5 : 2 * 1 : 3 * 0.5
       {.rule = kPower, .n = 8, .exponent = 0.5},
       {{.units = 50, .size = 4, .variation = 0.25},
        {.units = 50, .size = 16, .variation = 0.5},
        {.units = 50, .size = 36, .variation = 0.25}},
       {1, 4, 3}},
      {"power 0 leaves the variation",
       {.rule = kPower, .n = 6, .exponent = 0},
       {{.units = 50, .size = 4, .variation = 1}, {.units = 50, .size = 9999, .variation = 2}},
       {2, 4}},
      {"no deviation, but a min",
       {.rule = kNeyman, .n = 9},
       {{.units = 50, .deviation = 0, .least = 2}, {.units = 50, .deviation = 3}},
       {2, 7}},
      {"all that there are",
       {.rule = kNeyman, .n = 12},
       {{.units = 5, .deviation = 1}, {.units = 7, .deviation = 1e9}},
       {5, 7}},
      {"with replacement there may be more",
       {.rule = kEqual, .n = 12, .isWithReplacement = true},
       {{.units = 5}, {.units = 7}},
       {6, 6}},
      {"sums that overflow",
       {.rule = kNeyman, .n = 9},
       {{.units = 50, .deviation = 1e306}, {.units = 50, .deviation = 2e306}},
       {3, 6}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const Allocation got = Allocate(c.request, Named(c.strata));
    EXPECT_EQ(got.problem, "");
    EXPECT_EQ(got.sizes, c.sizes);
  }
}

TEST(Allocation, SaysWhichStratumKeepsItFromBeingMet) {
  struct Case {
    AllocationRule rule;
    std::int64_t n;
    Strata strata;
    const char* problem;
  };
  using enum AllocationRule;
  const double kNone = AllocationStratum::kUnknown;
  const Case kCases[] = {
      {kNeyman,
       9,
       {{.units = 50, .deviation = 1}, {.units = 50}},
       "stratum B has no standard deviation, which the rule neyman needs"},
      {kOptimal,
       9,
       {{.units = 50, .deviation = 1, .cost = 0}},
       "stratum A has the cost 0, which isn't a number above 0"},
      {kOptimal, 9, {{.units = 50, .deviation = 1, .cost = kNone}}, "stratum A has no cost"},
      {kNeyman, 9, {{.units = 50, .deviation = -1}}, "stratum A has the standard deviation -1"},
      {kNeyman,
       9,
       {{.units = 5, .deviation = 2}, {.units = 50, .deviation = 0}},
       "stratum B has the standard deviation 0, so the rule neyman gives it nothing: give it a min"},
      {kNeyman,
       9,
       {{.units = 50, .deviation = std::numeric_limits<double>::max()}},
       "stratum A has numbers too large"},
      {kPower, 9, {{.units = 50}}, "stratum A has no size"},
      {kPower,
       9,
       {{.units = 50, .size = 1, .variation = kNone}},
       "stratum A has no coefficient of variation"},
      {kEqual,
       2,
       {{.units = 5}, {.units = 5}, {.units = 5}},
       "n is 2, and the strata need at least 3: A 1, B 1, C 1"},
      {kEqual,
       9,
       {{.units = 5}, {.units = 20, .least = 9}},
       "n is 9, and the strata need at least 10: B 9, A 1"},
      {kEqual,
       9,
       {{.units = 5}, {.units = 20, .most = 3}},
       "n is 9, and the strata can give at most 8: A 5, B 3"},
      {kEqual, 9, {{.units = 50, .least = 4, .most = 3}}, "stratum A has the min 4, above its max 3"},
      {kNeyman,
       9,
       {{.units = 5, .deviation = 1}, {.units = 50, .deviation = 0, .least = 2}},
       "bounds leave 2 that the rule neyman gives to no stratum"},
      {kEqual, 9, {{.units = 0}}, "stratum A has 0 units"},
      {kEqual, 9, {}, "there is no stratum"},
      {kEqual, 0, {{.units = 50}}, "n isn't a whole number from 1"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.problem);
    const Allocation got = Spread(c.rule, c.n, Named(c.strata));
    EXPECT_THAT(got.problem, HasSubstr(c.problem));
    EXPECT_TRUE(got.sizes.empty());
  }
  const Allocation few = Spread(AllocationRule::kEqual, 9, Named({{.units = 3, .least = 4}, {.units = 50}}));
  EXPECT_THAT(few.sizes, ElementsAre(3, 6));
  EXPECT_THAT(few.remarks, ElementsAre("stratum A has fewer units than its min 4: all 3 are taken"));
}

// Up to five strata with up to 12 units each, some of them with bounds, and an n that can be met.
struct SmallCase {
  AllocationRequest request;
  Strata strata;
};

SmallCase AnyCase() {
  SmallCase any;
  any.request.rule = kAllocationRules[*rc::gen::inRange(0, 5)].rule;
  any.request.exponent = *rc::gen::element(0.0, 0.5, 1.0);
  std::int64_t least = 0;
  std::int64_t most = 0;
  const int count = *rc::gen::inRange(1, 6);
  for (int h = 0; h < count; ++h) {
    AllocationStratum& stratum = any.strata.emplace_back();
    const std::int64_t units = *rc::gen::inRange(1, 13);
    stratum.units = static_cast<double>(units);
    stratum.deviation = *rc::gen::element(0.1, 1.0, 2.0, 2.5, 7.0, 100.0);
    stratum.cost = *rc::gen::element(1.0, 2.0, 4.0);
    stratum.size = *rc::gen::element(1.0, 10.0, 1000.0);
    stratum.variation = *rc::gen::element(0.5, 1.0, 3.0);
    if (*rc::gen::inRange(0, 3) == 0) stratum.least = *rc::gen::inRange<std::int64_t>(1, units + 1);
    if (*rc::gen::inRange(0, 3) == 0)
      stratum.most = *rc::gen::inRange<std::int64_t>(stratum.least.value_or(1), units + 1);
    least += stratum.least.value_or(1);
    most += stratum.most.value_or(units);
  }
  any.request.n = *rc::gen::inRange(least, most + 1);
  any.strata = Named(any.strata);
  return any;
}

// Sum of a_h^2 / n_h, which the rules with weight a_h make small: the variance for neyman, and for optimal the
// variance at equal cost.
double Objective(const SmallCase& any, const Sizes& sizes) {
  double sum = 0.0;
  for (std::size_t h = 0; h < sizes.size(); ++h) {
    const double weight = AllocationWeight(any.request, any.strata[h]);
    sum += weight * weight / static_cast<double>(sizes[h]);
  }
  return sum;
}

// Slow and obvious: the least objective over all whole numbers within the bounds that add up to n.
double BestObjective(const SmallCase& any) {
  double best = std::numeric_limits<double>::infinity();
  Sizes sizes(any.strata.size());
  const std::function<void(std::size_t, std::int64_t)> fill = [&](std::size_t h, std::int64_t left) {
    if (h == sizes.size()) {
      if (left == 0) best = std::min(best, Objective(any, sizes));
      return;
    }
    const AllocationStratum& stratum = any.strata[h];
    const std::int64_t most = stratum.most.value_or(static_cast<std::int64_t>(stratum.units));
    for (sizes[h] = stratum.least.value_or(1); sizes[h] <= std::min(most, left); ++sizes[h])
      fill(h + 1, left - sizes[h]);
  };
  fill(0, any.request.n);
  return best;
}

// Goal: what the header promises of any allocation, whatever the rule.
RC_GTEST_PROP(Allocation, KeepsItsBoundsAndAddsUp, ()) {
  const SmallCase any = AnyCase();
  const Allocation got = Allocate(any.request, any.strata);
  RC_ASSERT(got.problem.empty());
  std::int64_t sum = 0;
  for (std::size_t h = 0; h < got.sizes.size(); ++h) {
    const AllocationStratum& stratum = any.strata[h];
    const std::int64_t size = got.sizes[h];
    RC_ASSERT(size >= stratum.least.value_or(1));
    RC_ASSERT(size <= stratum.most.value_or(static_cast<std::int64_t>(stratum.units)));
    RC_ASSERT(std::abs(static_cast<double>(size) - got.shares[h]) < 1.0);
    sum += size;
    // Between two strata of which the rule would move units from i to h, a bound must stand.
    for (std::size_t i = 0; i < got.sizes.size(); ++i) {
      const double ratioH = got.shares[h] / AllocationWeight(any.request, stratum);
      const double ratioI = got.shares[i] / AllocationWeight(any.request, any.strata[i]);
      if (ratioH > ratioI * (1 - 1e-9)) continue;
      const double upper = std::min(stratum.units, static_cast<double>(stratum.most.value_or(99)));
      const auto lower = static_cast<double>(any.strata[i].least.value_or(1));
      RC_ASSERT(got.shares[h] >= upper - 1e-9 || got.shares[i] <= lower + 1e-9);
    }
  }
  RC_ASSERT(sum == any.request.n);
  // Money in another unit, or the variable in another, changes nothing.
  SmallCase scaled = any;
  const double factor = *rc::gen::element(1e-3, 3.0, 1e6);
  for (AllocationStratum& stratum : scaled.strata) {
    stratum.deviation *= factor;
    stratum.cost *= factor;
    stratum.variation *= factor;
  }
  RC_ASSERT(Allocate(scaled.request, scaled.strata).sizes == got.sizes);
}

// Goal: the shares are the optimum over real numbers, so no whole numbers are better; and rounding costs no
// more than the strata that were rounded down, which is what largest remainder promises.
RC_GTEST_PROP(Allocation, ComesAsNearToTheBestAsRoundingAllows, ()) {
  const SmallCase any = AnyCase();
  const Allocation got = Allocate(any.request, any.strata);
  double real = 0.0;
  double roundedDown = 0.0;
  bool isWhole = true;
  for (std::size_t h = 0; h < got.sizes.size(); ++h) {
    const double weight = AllocationWeight(any.request, any.strata[h]);
    const auto size = static_cast<double>(got.sizes[h]);
    const double share = got.shares[h];
    real += weight * weight / share;
    if (size < share) roundedDown += weight * weight * (share - size) / (share * size);
    isWhole = isWhole && std::abs(size - share) < 1e-9;
  }
  const double best = BestObjective(any);
  const double slack = 1e-9 * best;
  const double rounded = Objective(any, got.sizes);
  RC_ASSERT(real <= best + slack);
  RC_ASSERT(rounded >= best - slack);
  RC_ASSERT(rounded <= real + roundedDown + slack);
  if (isWhole) RC_ASSERT(rounded <= best + slack);
}

}  // namespace
