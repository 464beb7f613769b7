#include "design/SampleSize.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <cmath>

namespace {

using testing::HasSubstr;
using enum SizeTarget;

// The confidence level at which z is just 2, as [Cochran77] rounds it.
const double kTwo = std::erf(2.0 / std::sqrt(2.0));

TEST(SampleSize, HasTheNormalPointsOfTheTables) {
  for (const auto& [confidence, z] : {std::pair{0.90, 1.6448536269514722},
                                      {0.95, 1.9599639845400545},
                                      {0.99, 2.5758293035489004},
                                      {kTwo, 2.0}}) {
    EXPECT_NEAR(NormalPoint(confidence), z, 1e-12);
  }
}

// Goal: published sizes. Where a book rounds z or n0, its inputs are used and its result.
TEST(SampleSize, AgreesWithPublishedExamples) {
  struct Case {
    const char* source;
    SizeQuestion question;
    std::int64_t answers;
  };
  const Case kCases[] = {
      // An anthropologist's share of a blood group: n0 = 400, and 356 on an island of 3200.
      {"[Cochran77], section 4.4", {.margin = 0.05, .confidence = kTwo}, 400},
      {"[Cochran77], section 4.4", {.population = 3200, .margin = 0.05, .confidence = kTwo}, 356},
      // Seedlings in a nursery: mean 19, S^2 = 85.6, within 10 %, 430 beds: n0 = 95, n = 78.
      {"[Cochran77], chapter 4",
       {.target = kMean, .deviation = std::sqrt(85.6), .margin = 1.9, .confidence = kTwo},
       95},
      {"[Cochran77], chapter 4",
       {.target = kMean, .deviation = std::sqrt(85.6), .population = 430, .margin = 1.9, .confidence = kTwo},
       78},
      // Recipes of a cookbook, 1251 in all, within 0.03: n0 = 1067, n = 576 with S^2 = P Q.
      {"[Lohr19], section 2.6", {.margin = 0.03}, 1068},
      {"[Lohr19], section 2.6", {.target = kMean, .deviation = 0.5, .population = 1251, .margin = 0.03}, 576},
  };
  for (const Case& c : kCases) {
    const SizeAnswer got = SampleSizeFor(c.question);
    EXPECT_EQ(got.problem, "") << c.source;
    EXPECT_EQ(got.answers, c.answers) << c.source;
  }
  // [DHS12]: Deft^2 (1 / P - 1) / C^2 over the response rates: 2.25 * 4 / 0.0064 / 0.9 = 1562.5.
  const SizeAnswer survey =
      SampleSizeFor({.expected = 0.2, .cv = 0.08, .designEffect = 2.25, .responseRate = 0.9});
  EXPECT_NEAR(survey.withEffect / survey.simple, 2.25, 1e-12);
  EXPECT_EQ(survey.answers, 1407);  // 1406.25
  EXPECT_EQ(survey.sample, 1564);
}

// Goal: put into the formula of the variance, the size reaches the precision and one unit less doesn't; the
// mean, the total and the proportion of the same units need the same size.
RC_GTEST_PROP(SampleSize, IsTheLeastThatReachesThePrecision, ()) {
  SizeQuestion question;
  question.target = *rc::gen::element(kProportion, kMean, kTotal);
  const bool isProportion = question.target == kProportion;
  const double units = *rc::gen::inRange(2, 100000);
  question.population = units;
  question.designEffect = *rc::gen::element(0.5, 1.0, 2.5);
  const double p = *rc::gen::inRange(1, 99) / 100.0;
  question.expected = isProportion ? p : 50.0;
  if (!isProportion) question.deviation = *rc::gen::element(0.5, 20.0, 300.0);
  const double scale = question.target == kTotal ? units : 1.0;
  const double precision = *rc::gen::inRange(1, 50) / 100.0;
  if (*rc::gen::arbitrary<bool>()) {
    question.cv = precision;
  } else {
    question.margin = precision * (isProportion ? 0.5 : 10.0) * scale;
  }
  const SizeAnswer got = SampleSizeFor(question);
  RC_ASSERT(got.problem.empty());
  const double square =
      isProportion ? units * p * (1 - p) / (units - 1) : *question.deviation * *question.deviation;
  // Both sides without the finite population correction, beside which rounding errors would be large.
  const auto reaches = [&](double n) {
    const double wanted = question.cv ? *question.cv * *question.expected : *question.margin / got.z;
    const double least = wanted * wanted / (scale * scale);
    const double perUnit = question.designEffect * square;
    return perUnit / n <= (least + perUnit / units) * (1 + 1e-8);
  };
  RC_ASSERT(reaches(static_cast<double>(got.answers)));
  RC_ASSERT(got.answers == 1 || !reaches(static_cast<double>(got.answers) - 1.01));
  RC_ASSERT(static_cast<double>(got.answers) <= units);
}

TEST(SampleSize, SaysWhatKeepsItFromAnAnswer) {
  const std::pair<SizeQuestion, const char*> kCases[] = {
      {{}, "a precision is needed"},
      {{.margin = 0.1, .cv = 0.1}, "not both"},
      {{.margin = 0}, "the margin of error is 0, and must be above 0"},
      {{.margin = 3}, "the margin of a proportion is 3, and must be above 0 and below 1"},
      {{.cv = 5}, "the coefficient of variation is 5"},
      {{.margin = 0.1, .confidence = 1}, "the confidence level is 1"},
      {{.margin = 0.1, .responseRate = 1.5}, "the response rate is 1.5"},
      {{.population = 10.5, .margin = 0.1}, "the population is 10.5"},
      {{.expected = 1, .margin = 0.1}, "the expected proportion is 1"},
      {{.deviation = 1, .margin = 0.1}, "a proportion has no standard deviation"},
      {{.target = kMean, .margin = 0.1}, "a standard deviation between units is needed"},
      {{.target = kMean, .deviation = 1, .cv = 0.1}, "needs the mean that is expected"},
      {{.target = kTotal, .deviation = 1, .margin = 0.1}, "a total needs the number of units"},
      {{.population = 1000, .margin = 0.01, .responseRate = 0.5},
       "906 answers are needed, and if all 1000 units were drawn, about 500 would answer"},
      {{.margin = 1e-9}, "more than 2147483647 units"},
  };
  for (const auto& [question, problem] : kCases)
    EXPECT_THAT(SampleSizeFor(question).problem, HasSubstr(problem));
}

}  // namespace
