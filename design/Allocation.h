#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// How many units of a sample each stratum gets. Pure functions: no files, no frame, no random numbers.
//
// Notation, as in the sources: stratum h has N_h units, of which n_h are drawn; n is the sum of the n_h. S_h
// is the standard deviation of the study variable between its units, with divisor N_h - 1. c_h is the cost of
// a unit.
//
// The tags of the sources are explained in docs/BIBLIOGRAPHY.md.

enum class AllocationRule { kEqual, kProportional, kNeyman, kOptimal, kPower };

// What a rule is called by the user, and what it needs to know of each stratum beside N_h.
struct AllocationRuleFacts {
  AllocationRule rule;
  std::string_view word;
  std::string_view inWords;
  bool needsDeviation = false;
  bool needsCost = false;
};

inline constexpr AllocationRuleFacts kAllocationRules[] = {
    {AllocationRule::kEqual, "equal", "the same number for each stratum"},
    {AllocationRule::kProportional, "proportional", "in proportion to the units of the strata"},
    {AllocationRule::kNeyman, "neyman", "in proportion to units times standard deviation", true},
    {AllocationRule::kOptimal, "optimal",
     "in proportion to units times standard deviation, over the root of the cost of a unit", true, true},
    {AllocationRule::kPower, "power",
     "in proportion to a power of the size of the strata, times coefficient of variation"},
};

const AllocationRuleFacts& FactsOf(AllocationRule rule);

// A stratum as the rules see it. NaN means that a number isn't known.
struct AllocationStratum {
  static constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

  std::string name{};                   // for messages
  double units = 0.0;                   // N_h, whole
  double deviation = kUnknown;          // S_h
  double cost = 1.0;                    // c_h, in any unit
  double size = kUnknown;               // X_h, for power allocation
  double variation = 1.0;               // C_h, coefficient of variation between units, for power allocation
  std::optional<std::int64_t> least{};  // bounds that the user sets
  std::optional<std::int64_t> most{};
};

struct AllocationRequest {
  AllocationRule rule = AllocationRule::kProportional;
  std::int64_t n = 0;
  double exponent = 1.0;           // of power allocation
  bool isWithReplacement = false;  // a stratum may then give more hits than it has units
};

// Either `problem` says in one sentence which stratum keeps the allocation from being met and why, or it is
// empty and there are sizes.
struct Allocation {
  std::string problem{};
  std::vector<std::int64_t> sizes{};   // n_h, in the order of the strata; they add up to n exactly
  std::vector<double> shares{};        // the numbers before they were rounded
  std::vector<std::string> remarks{};  // bounds that had to give way to what a stratum has
};

// Spreads n over the strata by the rule, within bounds: each stratum gets at least 1 and at least its
// `least`, at most its `most` and, without replacement, no more than it has. What the bounds keep from a
// stratum is spread over the others by the same rule.
//
// Shares:    n_h = min(max(t a_h, lower_h), upper_h), where a_h is the rule's weight (AllocationWeight()) and
//            t is such that the sum is n. For kNeyman and kOptimal this is the minimum of the variance over
//            real n_h within the bounds: it meets the Karush-Kuhn-Tucker conditions, of which the repeated
//            fixing of strata in [Cochran77], section 5.8, is the case with upper bounds alone.
// Rounding:  largest remainder. Each n_h is its share rounded down or up; remainders that differ by less than
//            1e-9 are equal, and of equal ones the earlier stratum is rounded up.
// A stratum whose weight is 0 gets its lower bound, which the user must then have set.
// Cost:      O(H log H) for H strata.
Allocation Allocate(const AllocationRequest& request, std::span<const AllocationStratum> strata);

// The weight a_h of a stratum; NaN if the rule needs a number that isn't known.
double AllocationWeight(const AllocationRequest& request, const AllocationStratum& stratum);

// Variance of the estimated total under simple random sampling within the strata:
//
//   V = sum_h N_h^2 S_h^2 / n_h - sum_h N_h S_h^2
//
// Source: [Cochran77], Theorem 5.3 and its corollaries, for the total. With replacement the second sum is left
// out. REQUIRES: every n_h is positive. NaN if a deviation isn't known.
double TotalVariance(std::span<const AllocationStratum> strata, std::span<const std::int64_t> sizes,
                     bool isWithReplacement = false);
