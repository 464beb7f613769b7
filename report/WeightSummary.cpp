#include "report/WeightSummary.h"

#include <algorithm>
#include <cmath>

#include "host/numeric/Obs.h"

namespace {

constexpr int kMostSteps = 24;
// Weights that differ by less than this, relative to the largest, differ by rounding.
constexpr double kSameWeight = 1e-9;
constexpr double kSmallestRange = 1e-300;  // steps of a smaller one are no longer exact
// From this ratio of the largest to the smallest on, even steps would leave most weights in one of them.
constexpr double kSkewed = 100.0;
constexpr double kMostDecades = 8.0;

std::vector<double> EvenEdges(double smallest, double largest) {
  const double step = RoundStep(largest - smallest, kMostSteps);
  std::vector<double> edges;
  const double first = std::floor(smallest / step);
  const double last = std::floor(largest / step) + 1.0;
  for (double i = first; i <= last; i += 1.0) edges.push_back(i * step);
  return edges;
}

// From the last edge that isn't above the smallest to the first above the largest.
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

bool AreSame(const WeightSummary& summary) {
  return summary.largest - summary.smallest <= kSameWeight * std::abs(summary.largest);
}

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

// The bin of a weight; the edges are rounded, so that one at an end can come to lie outside.
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
