#include "design/SampleSize.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace {

// Relative. Keeps a size that is whole but for rounding errors from being rounded up to the next.
constexpr double kCeilingSlack = 1e-9;
// A size of a sample is at most this.
constexpr double kLargestSize = 2147483647.0;

bool IsPositive(double number) {
  return std::isfinite(number) && number > 0.0;
}

double RoundedUp(double number) {
  return std::ceil(number * (1.0 - kCeilingSlack));
}

std::string NotAllowed(const char* what, double number, const char* allowed) {
  return fmt::format("the {} is {}, and must be {}", what, number, allowed);
}

// Numbers that mean something for every target.
std::string CommonProblem(const SizeQuestion& question) {
  if (question.margin.has_value() == question.cv.has_value())
    return "a precision is needed: a margin of error or a coefficient of variation, not both";
  if (question.margin && !IsPositive(*question.margin))
    return NotAllowed("margin of error", *question.margin, "above 0");
  if (question.cv && !(*question.cv > 0.0 && *question.cv < 1.0))
    return NotAllowed("coefficient of variation", *question.cv, "above 0 and below 1, as 0.05 or 5%");
  if (!(question.confidence > 0.0 && question.confidence < 1.0))
    return NotAllowed("confidence level", question.confidence, "above 0 and below 1, as 0.95");
  if (!IsPositive(question.designEffect))
    return NotAllowed("design effect", question.designEffect, "above 0");
  if (!(question.responseRate > 0.0 && question.responseRate <= 1.0))
    return NotAllowed("response rate", question.responseRate, "above 0 and at most 1");
  const double population = question.population.value_or(1.0);
  if (!IsPositive(population) || population != std::floor(population))
    return NotAllowed("population", population, "a whole number above 0");
  return "";
}

std::string ProportionProblem(const SizeQuestion& question) {
  if (question.deviation)
    return "a proportion has no standard deviation to give: it follows from what is expected";
  if (question.expected && !(*question.expected > 0.0 && *question.expected < 1.0))
    return NotAllowed("expected proportion", *question.expected, "above 0 and below 1");
  if (question.margin && *question.margin >= 1.0)
    return NotAllowed("margin of a proportion", *question.margin, "above 0 and below 1, as 0.03 or 3%");
  return "";
}

std::string QuantityProblem(const SizeQuestion& question) {
  const bool isTotal = question.target == SizeTarget::kTotal;
  if (!question.deviation) return "a standard deviation between units is needed for a mean or total";
  if (!IsPositive(*question.deviation))
    return NotAllowed("standard deviation", *question.deviation, "above 0");
  if (isTotal && !question.population) return "a total needs the number of units in the population";
  if (question.expected && (!std::isfinite(*question.expected) || *question.expected == 0.0))
    return NotAllowed(isTotal ? "expected total" : "expected mean", *question.expected,
                      "a number other than 0");
  if (question.cv && !question.expected)
    return fmt::format("a coefficient of variation needs the {} that is expected",
                       isTotal ? "total" : "mean");
  return "";
}

// The variance of one observation, S^2 or P Q, over the variance that is wanted of the estimate: n0 without a
// design effect.
double SimpleSize(const SizeQuestion& question, double z) {
  const bool isProportion = question.target == SizeTarget::kProportion;
  const double expected = question.expected.value_or(isProportion ? 0.5 : 0.0);
  const double deviation = isProportion ? std::sqrt(expected * (1.0 - expected)) : *question.deviation;
  const double wanted = question.margin ? *question.margin / z : *question.cv * std::abs(expected);
  const double perUnit = question.target == SizeTarget::kTotal ? wanted / *question.population : wanted;
  const double ratio = deviation / perUnit;
  return ratio * ratio;
}

double ForPopulation(const SizeQuestion& question, double size) {
  if (!question.population) return size;
  const double n = *question.population;
  return question.target == SizeTarget::kProportion ? size * n / (n - 1.0 + size) : size * n / (n + size);
}

}  // namespace

// Bisection of the complementary error function, which the standard library has: plain, and exact enough.
double NormalPoint(double confidence) {
  constexpr double kSqrtHalf = 0.70710678118654752440;
  constexpr int kHalvings = 64;
  double low = 0.0;
  double high = 40.0;  // beyond it the tail is 0 in a double
  for (int i = 0; i < kHalvings; ++i) {
    const double middle = 0.5 * (low + high);
    (std::erfc(middle * kSqrtHalf) > 1.0 - confidence ? low : high) = middle;
  }
  return 0.5 * (low + high);
}

SizeAnswer SampleSizeFor(const SizeQuestion& question) {
  SizeAnswer answer;
  answer.problem = CommonProblem(question);
  if (!answer.problem.empty()) return answer;
  answer.problem =
      question.target == SizeTarget::kProportion ? ProportionProblem(question) : QuantityProblem(question);
  if (!answer.problem.empty()) return answer;
  if (question.margin) answer.z = NormalPoint(question.confidence);
  answer.simple = SimpleSize(question, answer.z);
  answer.withEffect = answer.simple * question.designEffect;
  answer.withPopulation = ForPopulation(question, answer.withEffect);
  // At least one: a margin wider than all that is possible asks for less than one unit.
  const double answers = std::max(1.0, RoundedUp(answer.withPopulation));
  const double sample = RoundedUp(answers / question.responseRate);
  if (!(sample <= kLargestSize)) {
    answer.problem = "the sample would have more than 2147483647 units";
  } else if (question.population && sample > *question.population) {
    answer.problem =
        fmt::format("{} answers are needed, and if all {} units were drawn, about {} would answer", answers,
                    *question.population, std::floor(*question.population * question.responseRate));
  }
  answer.isOutOfReach = !answer.problem.empty();
  if (answer.isOutOfReach) return answer;
  answer.answers = static_cast<std::int64_t>(answers);
  answer.sample = static_cast<std::int64_t>(sample);
  return answer;
}
