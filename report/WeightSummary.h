#pragma once

#include <cstdint>
#include <functional>
#include <vector>

// Passes over the weights of a sample, in any order: calls what it is given with each weight in turn. It can
// be called more than once and gives the same weights each time.
using WeightPass = std::function<void(const std::function<void(double)>&)>;

// What the weights of a sample look like.
//
// The design effect due to unequal weighting is that of [Kish92]: n sum(w^2) / (sum w)^2 = 1 + cv^2, where cv
// is the coefficient of variation with n, not n - 1, in its variance.
struct WeightSummary {
  std::int64_t count = 0;  // weights that aren't missing; where it is 0 nothing else is set
  double sum = 0.0;
  double mean = 0.0;
  double smallest = 0.0;
  double largest = 0.0;
  double cv = 0.0;
  double designEffect = 1.0;

  // The distribution: bins[i] weights are in [edges[i], edges[i + 1]). The edges are round numbers, evenly
  // apart or, where the weights differ by orders of magnitude, 1, 2 and 5 times the powers of ten. Both are
  // empty when all weights are the same.
  std::vector<double> edges;
  std::vector<std::int64_t> bins;
  bool isLogarithmic = false;
};

// Passes twice. A missing weight doesn't count.
WeightSummary SummarizeWeights(const WeightPass& pass);

// The smallest of 1, 2 and 5 times a power of ten by which `range` has at most `most` steps.
// REQUIRES: range > 0, most > 0.
double RoundStep(double range, int most);
