#pragma once

#include <cstdint>
#include <functional>
#include <vector>

// A pass over the weights of a sample, in any order: calls `take` with each. Must be repeatable with the same
// weights, since they aren't kept in memory; MCMV::gMissingValue is a missing weight.
using WeightPass = std::function<void(const std::function<void(double)>&)>;

// Sum, range, variation and distribution of the weights of a sample.
//
// The design effect due to unequal weighting is that of [Kish92] in docs/BIBLIOGRAPHY.md:
//
//   deff = n sum(w^2) / (sum w)^2 = 1 + cv^2
//
// where cv is the coefficient of variation with n, not n - 1, in its variance. It is the factor by which
// unequal weights that are unrelated to a variable raise the variance of its mean.
struct WeightSummary {
  std::int64_t count = 0;  // weights that aren't missing; if 0, nothing else is set
  double sum = 0.0;
  double mean = 0.0;
  double smallest = 0.0;
  double largest = 0.0;
  double cv = 0.0;
  double designEffect = 1.0;

  // The distribution: bins[i] weights are in [edges[i], edges[i + 1]). The edges are round numbers at equal
  // distances or, if the weights differ by orders of magnitude, 1, 2 and 5 times the powers of ten
  // (isLogarithmic). Both are empty if all weights are the same.
  std::vector<double> edges;
  std::vector<std::int64_t> bins;
  bool isLogarithmic = false;
};

// Makes two passes: the bins depend on the range, and the variance is summed about the mean.
WeightSummary SummarizeWeights(const WeightPass& pass);

// The smallest round step (1, 2 or 5 times a power of ten) that divides `range` into at most `most` steps.
// REQUIRES: range > 0, most > 0.
double RoundStep(double range, int most);
