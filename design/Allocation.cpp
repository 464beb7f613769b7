#include "design/Allocation.h"

#include <fmt/format.h>

#include <algorithm>
#include <cassert>
#include <numeric>

namespace {

// A size in a plan is at most this.
constexpr double kLargestSize = 2147483647.0;

// Lower and upper bounds of each stratum, whole numbers.
struct Bounds {
  std::vector<double> lower;
  std::vector<double> upper;
};

bool IsWhole(double number) {
  return std::isfinite(number) && number == std::floor(number);
}

std::string Number(double number) {
  return fmt::format("{}", number);
}

// What is wrong with a stratum, whatever the rule; empty if nothing is.
std::string StratumProblem(const AllocationStratum& stratum) {
  if (!(IsWhole(stratum.units) && stratum.units >= 1.0))
    return fmt::format("stratum {} has {} units, which isn't a whole number above 0", stratum.name,
                       stratum.units);
  if (stratum.least && *stratum.least < 0) return fmt::format("stratum {} has a min below 0", stratum.name);
  if (stratum.most && *stratum.most < 1) return fmt::format("stratum {} has a max below 1", stratum.name);
  if (stratum.least && stratum.most && *stratum.least > *stratum.most) {
    return fmt::format("stratum {} has the min {}, above its max {}", stratum.name, *stratum.least,
                       *stratum.most);
  }
  return "";
}

// Why a rule can't give a stratum its weight; empty if it can.
std::string WeightProblem(const AllocationRequest& request, const AllocationStratum& stratum) {
  const AllocationRuleFacts& facts = FactsOf(request.rule);
  const auto lacks = [&](const char* what, double number, const char* allowed) {
    return std::isnan(number)
               ? fmt::format("stratum {} has no {}, which the rule {} needs", stratum.name, what, facts.word)
               : fmt::format("stratum {} has the {} {}, which isn't {}", stratum.name, what, number, allowed);
  };
  const auto isIn = [](double number, bool allowsZero) {
    return std::isfinite(number) && (allowsZero ? number >= 0.0 : number > 0.0);
  };
  if (facts.needsDeviation && !isIn(stratum.deviation, true))
    return lacks("standard deviation", stratum.deviation, "a number of 0 or more");
  if (facts.needsCost && !isIn(stratum.cost, false)) return lacks("cost", stratum.cost, "a number above 0");
  if (request.rule == AllocationRule::kPower && !isIn(stratum.size, false))
    return lacks("size", stratum.size, "a number above 0");
  if (request.rule == AllocationRule::kPower && !isIn(stratum.variation, true))
    return lacks("coefficient of variation", stratum.variation, "a number of 0 or more");
  const double weight = AllocationWeight(request, stratum);
  if (!std::isfinite(weight))
    return fmt::format("stratum {} has numbers too large to allocate by", stratum.name);
  if (weight == 0.0 && !stratum.least) {
    const char* const what =
        request.rule == AllocationRule::kPower ? "coefficient of variation" : "standard deviation";
    return fmt::format("stratum {} has the {} 0, so the rule {} gives it nothing: give it a min",
                       stratum.name, what, facts.word);
  }
  return "";
}

// At least one unit of each stratum, since a stratum without units in the sample can't be estimated and a
// plan has no size 0. A min above what the stratum has gives way, with a remark.
Bounds BoundsOf(const AllocationRequest& request, std::span<const AllocationStratum> strata,
                std::vector<std::string>* remarks) {
  Bounds bounds;
  for (const AllocationStratum& stratum : strata) {
    double upper = request.isWithReplacement ? kLargestSize : std::min(stratum.units, kLargestSize);
    if (stratum.most) upper = std::min(upper, static_cast<double>(*stratum.most));
    double lower = std::max(1.0, static_cast<double>(stratum.least.value_or(1)));
    if (lower > upper) {
      remarks->push_back(fmt::format("stratum {} has fewer units than its min {}: all {} are taken",
                                     stratum.name, lower, upper));
      lower = upper;
    }
    bounds.lower.push_back(lower);
    bounds.upper.push_back(upper);
  }
  return bounds;
}

double SumOf(const std::vector<double>& numbers) {
  return std::accumulate(numbers.begin(), numbers.end(), 0.0);
}

// The strata with the largest bounds, for the message about bounds that exclude n.
std::string LargestBounds(std::span<const AllocationStratum> strata, const std::vector<double>& bounds) {
  constexpr std::size_t kMostNamed = 3;
  std::vector<std::size_t> order(strata.size());
  std::iota(order.begin(), order.end(), 0U);
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t i, std::size_t j) { return bounds[i] > bounds[j]; });
  std::string text;
  for (std::size_t i = 0; i < std::min(order.size(), kMostNamed); ++i)
    text += fmt::format("{}{} {}", i == 0 ? "" : ", ", strata[order[i]].name, Number(bounds[order[i]]));
  if (order.size() > kMostNamed) text += fmt::format(" and {} more strata", order.size() - kMostNamed);
  return text;
}

std::string BoundsProblem(const AllocationRequest& request, std::span<const AllocationStratum> strata,
                          const Bounds& bounds) {
  const double least = SumOf(bounds.lower);
  const double most = SumOf(bounds.upper);
  const auto n = static_cast<double>(request.n);
  if (n < least) {
    return fmt::format("n is {}, and the strata need at least {}: {}", n, Number(least),
                       LargestBounds(strata, bounds.lower));
  }
  if (n > most) {
    return fmt::format("n is {}, and the strata can give at most {}: {}", n, Number(most),
                       LargestBounds(strata, bounds.upper));
  }
  return "";
}

// The first problem of any stratum, or of their bounds.
std::string Problem(const AllocationRequest& request, std::span<const AllocationStratum> strata) {
  if (strata.empty()) return "there is no stratum";
  if (request.n < 1 || static_cast<double>(request.n) > kLargestSize)
    return "n isn't a whole number from 1 to 2147483647";
  if (!std::isfinite(request.exponent)) return "the exponent isn't a number";
  for (const AllocationStratum& stratum : strata) {
    std::string problem = StratumProblem(stratum);
    if (problem.empty()) problem = WeightProblem(request, stratum);
    if (!problem.empty()) return problem;
  }
  return "";
}

// The weights divided by the largest, so that sums can't overflow. All 0 if the largest is.
std::vector<double> Weights(const AllocationRequest& request, std::span<const AllocationStratum> strata) {
  std::vector<double> weights;
  for (const AllocationStratum& stratum : strata) weights.push_back(AllocationWeight(request, stratum));
  const double largest = *std::max_element(weights.begin(), weights.end());
  for (double& weight : weights) weight = largest > 0.0 ? weight / largest : 0.0;
  return weights;
}

// The values of the multiplier t at which a stratum leaves its lower bound or reaches its upper one,
// ascending. Between two neighbours the sum of the shares is linear in t.
std::vector<double> Breakpoints(const std::vector<double>& weights, const Bounds& bounds) {
  std::vector<double> points;
  for (std::size_t h = 0; h < weights.size(); ++h) {
    if (weights[h] == 0.0) continue;
    points.push_back(bounds.lower[h] / weights[h]);
    points.push_back(bounds.upper[h] / weights[h]);
  }
  std::sort(points.begin(), points.end());
  points.erase(std::unique(points.begin(), points.end()), points.end());
  return points;
}

double SumAt(double t, const std::vector<double>& weights, const Bounds& bounds) {
  double sum = 0.0;
  for (std::size_t h = 0; h < weights.size(); ++h) {
    sum += weights[h] == 0.0 ? bounds.lower[h] : std::clamp(t * weights[h], bounds.lower[h], bounds.upper[h]);
  }
  return sum;
}

// Shares before rounding. REQUIRES: n is within the sums of the bounds. A stratum is fixed at a bound if t
// lies beyond the point where it reaches that bound; the others share what is left in proportion to weight.
// `isFree` says which those are.
std::vector<double> Shares(double n, const std::vector<double>& weights, const Bounds& bounds,
                           std::vector<bool>* isFree) {
  const std::vector<double> points = Breakpoints(weights, bounds);
  // The last point at which the sum is still at most n, and the next one: t lies between them.
  const auto next = std::partition_point(points.begin(), points.end(),
                                         [&](double t) { return SumAt(t, weights, bounds) <= n; });
  const double below = next == points.begin() ? 0.0 : *(next - 1);
  std::vector<double> shares = bounds.lower;
  isFree->assign(weights.size(), false);
  double left = n;
  double sumOfFree = 0.0;
  for (std::size_t h = 0; h < weights.size(); ++h) {
    const bool hasLeftLower = weights[h] > 0.0 && bounds.lower[h] / weights[h] <= below;
    const bool isAtUpper = weights[h] > 0.0 && bounds.upper[h] / weights[h] <= below;
    if (isAtUpper) shares[h] = bounds.upper[h];
    (*isFree)[h] = hasLeftLower && !isAtUpper;
    if ((*isFree)[h]) {
      sumOfFree += weights[h];
    } else {
      left -= shares[h];
    }
  }
  for (std::size_t h = 0; h < weights.size(); ++h) {
    if ((*isFree)[h]) shares[h] = std::clamp(left * weights[h] / sumOfFree, bounds.lower[h], bounds.upper[h]);
  }
  return shares;
}

// Largest remainder. Shares that are fixed at a bound are whole and stay. A share below its upper bound is
// below it by its remainder at least, since bounds are whole, so rounding up can't exceed the bound.
std::vector<std::int64_t> RoundedShares(std::int64_t n, const std::vector<double>& shares,
                                        const std::vector<bool>& isFree, const Bounds& bounds) {
  // Remainders are compared in these steps: exact ties must not be decided by rounding errors.
  constexpr double kStepsOfRemainder = 1e9;
  std::vector<std::int64_t> sizes;
  std::vector<std::int64_t> remainders;
  std::vector<std::size_t> order;
  std::int64_t left = n;
  for (std::size_t h = 0; h < shares.size(); ++h) {
    const double floor = std::floor(shares[h]);
    sizes.push_back(static_cast<std::int64_t>(floor));
    remainders.push_back(std::llround((shares[h] - floor) * kStepsOfRemainder));
    left -= sizes.back();
    if (isFree[h]) order.push_back(h);
  }
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t i, std::size_t j) { return remainders[i] > remainders[j]; });
  for (std::size_t i = 0; i < order.size() && left > 0; ++i) {
    const std::size_t h = order[i];
    if (static_cast<double>(sizes[h]) >= bounds.upper[h]) continue;
    ++sizes[h];
    --left;
  }
  assert(left == 0);
  return sizes;
}

}  // namespace

const AllocationRuleFacts& FactsOf(AllocationRule rule) {
  return kAllocationRules[static_cast<std::size_t>(rule)];
}

//   equal         n_h = n / H                                                    [Lohr19], section 3.4
//   proportional  n_h = n N_h / N                                                [Cochran77], section 5.4
//   neyman        n_h = n N_h S_h / sum N_i S_i                                  [Neyman34]; [Cochran77], (5.26)
//   optimal       n_h = n (N_h S_h / sqrt c_h) / sum (N_i S_i / sqrt c_i)        [Cochran77], Theorem 5.6
//   power         n_h = n C_h X_h^q / sum C_i X_i^q                              [Bankier88]
//
// Optimal allocation has the smallest variance of all that cost the same, cost being c_0 + sum c_h n_h. Power
// allocation is a compromise between precision for the whole (q = 1 and X_h the total of the study variable
// gives Neyman's) and the same precision for each stratum (q = 0). [Sarndal92], section 3.7, compares
// allocations under simple random sampling within strata; its allocation in proportion to a total is q = 1
// with equal C_h.
double AllocationWeight(const AllocationRequest& request, const AllocationStratum& stratum) {
  switch (request.rule) {
    case AllocationRule::kEqual:
      return 1.0;
    case AllocationRule::kProportional:
      return stratum.units;
    case AllocationRule::kNeyman:
      return stratum.units * stratum.deviation;
    case AllocationRule::kOptimal:
      return stratum.units * stratum.deviation / std::sqrt(stratum.cost);
    case AllocationRule::kPower:
      return stratum.variation * std::pow(stratum.size, request.exponent);
  }
  return AllocationStratum::kUnknown;
}

Allocation Allocate(const AllocationRequest& request, std::span<const AllocationStratum> strata) {
  Allocation allocation;
  allocation.problem = Problem(request, strata);
  if (!allocation.problem.empty()) return allocation;
  const Bounds bounds = BoundsOf(request, strata, &allocation.remarks);
  allocation.problem = BoundsProblem(request, strata, bounds);
  if (!allocation.problem.empty()) return allocation;
  const std::vector<double> weights = Weights(request, strata);
  const auto n = static_cast<double>(request.n);
  std::vector<bool> isFree;
  allocation.shares = Shares(n, weights, bounds, &isFree);
  const bool isSpread = std::find(isFree.begin(), isFree.end(), true) != isFree.end();
  if (const double spread = SumOf(allocation.shares); !isSpread && spread < n) {
    allocation.problem = fmt::format(
        "n is {}, and bounds leave {} that the rule {} gives to no stratum: those below their max "
        "have the weight 0",
        request.n, Number(n - spread), FactsOf(request.rule).word);
    return allocation;
  }
  allocation.sizes = RoundedShares(request.n, allocation.shares, isFree, bounds);
  return allocation;
}

double TotalVariance(std::span<const AllocationStratum> strata, std::span<const std::int64_t> sizes,
                     bool isWithReplacement) {
  assert(strata.size() == sizes.size());
  double variance = 0.0;
  for (std::size_t h = 0; h < strata.size(); ++h) {
    const AllocationStratum& stratum = strata[h];
    const double perUnit = stratum.units * stratum.deviation * stratum.deviation;
    variance += perUnit * stratum.units / static_cast<double>(sizes[h]);
    if (!isWithReplacement) variance -= perUnit;
  }
  return variance;
}
