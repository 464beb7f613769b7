#include "report/WeightSummary.h"

#include <algorithm>
#include <cmath>

#include "host/numeric/Obs.h"

namespace {

constexpr int kMostSteps = 24;
// Weights that differ by less than this, relative to the largest, differ by rounding.
constexpr double kSameWeight = 1e-9;
constexpr double kSmallestRange = 1e-300;  // below it, steps come near denormal numbers and lose precision
// Ratio of the largest to the smallest weight from which on equal steps would put most weights into one bin.
constexpr double kSkewed = 100.0;
constexpr double kMostDecades = 8.0;  // for a logarithmic axis: three bins each, so 24 as kMostSteps

// Multiples of a round step. Each is computed from its index: adding up steps would add up rounding errors.
// The last edge is above the largest weight, since a bin doesn't contain its upper edge.
std::vector<double> EvenEdges(double smallest, double largest) {
  const double step = RoundStep(largest - smallest, kMostSteps);
  std::vector<double> edges;
  const double first = std::floor(smallest / step);
  const double last = std::floor(largest / step) + 1.0;
  for (double i = first; i <= last; i += 1.0) edges.push_back(i * step);
  return edges;
}

// 1, 2 and 5 times powers of ten, from the last one not above the smallest weight to the first above the
// largest. Starts a power early and drops what turns out too small.
std::vector<double> LogarithmicEdges(double smallest, double largest) {
  std::vector<double> edges;
  for (double exponent = std::floor(std::log10(smallest));; exponent += 1.0) {
    for (const double factor : {1.0, 2.0, 5.0}) {
      const double edge = factor * std::pow(10.0, exponent);
      if (edge <= smallest) edges.clear();
      edges.push_back(edge);
      if (edge > largest) return edges;
    }
  }
}

// Weights that are the same in theory differ in their last digits, since they are products of probabilities.
bool AreSame(const WeightSummary& summary) {
  return summary.largest - summary.smallest <= kSameWeight * std::abs(summary.largest);
}

// Leaves the bins empty if the weights are the same, or too close for a step between them.
void LayOutBins(WeightSummary* summary) {
  const double smallest = summary->smallest;
  const double largest = summary->largest;
  if (AreSame(*summary) || !(largest - smallest > kSmallestRange)) return;
  const double ratio = smallest > 0.0 ? largest / smallest : 1.0;
  summary->isLogarithmic = ratio >= kSkewed && ratio < std::pow(10.0, kMostDecades);
  summary->edges =
      summary->isLogarithmic ? LogarithmicEdges(smallest, largest) : EvenEdges(smallest, largest);
  summary->bins.assign(summary->edges.size() - 1, 0);
}

// Looks only at the inner edges, so that a weight that rounding puts outside the outer ones gets the outer
// bin.
std::size_t BinOf(const WeightSummary& summary, double weight) {
  const auto inner = summary.edges.begin() + 1;
  return static_cast<std::size_t>(std::upper_bound(inner, summary.edges.end() - 1, weight) - inner);
}

}  // namespace

double RoundStep(double range, int most) {
  const double least = range / most;
  const double power = std::pow(10.0, std::floor(std::log10(least)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= least) return factor * power;
  }
  return 10.0 * power;
}

// The first pass finds what the second needs: the mean, and the range for the bins. Weights that are the same
// get cv 0 exactly, and not what rounding leaves of it.
WeightSummary SummarizeWeights(const WeightPass& pass) {
  WeightSummary summary;
  pass([&](double weight) {
    if (weight == MCMV::gMissingValue) return;
    summary.smallest = summary.count == 0 ? weight : std::min(summary.smallest, weight);
    summary.largest = summary.count == 0 ? weight : std::max(summary.largest, weight);
    ++summary.count;
    summary.sum += weight;
  });
  if (summary.count == 0) return summary;
  const auto n = static_cast<double>(summary.count);
  summary.mean = summary.sum / n;
  LayOutBins(&summary);

  double squares = 0.0;  // about the mean, so that nothing is lost where the weights hardly differ
  pass([&](double weight) {
    if (weight == MCMV::gMissingValue) return;
    squares += (weight - summary.mean) * (weight - summary.mean);
    if (!summary.bins.empty()) ++summary.bins[BinOf(summary, weight)];
  });
  if (summary.mean != 0.0 && !AreSame(summary)) summary.cv = std::sqrt(squares / n) / std::abs(summary.mean);
  summary.designEffect = 1.0 + summary.cv * summary.cv;
  return summary;
}
