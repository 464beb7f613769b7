#include "backend/svselect/selection/PpsWorSteps.h"

#include <cassert>
#include <numeric>

namespace {
std::size_t Index(std::int32_t i) {
  return static_cast<std::size_t>(i);
}

// T, the share of all units but the last n.
double ShareOfOthers(std::span<const double> cumulativeShares, std::int32_t n) {
  const std::size_t others = cumulativeShares.size() - Index(n);
  return others > 0 ? cumulativeShares[others - 1] : 0.0;
}
}  // namespace

std::vector<double> FirstStepProbs(std::span<const double> shares, std::span<const double> cumulativeShares,
                                   std::int32_t n) {
  const std::span<const double> z = shares.last(Index(n));
  const double t = ShareOfOthers(cumulativeShares, n);
  std::vector<double> a(z.size());
  for (std::int32_t i = 1; i <= n; ++i) {
    const double next = i < n ? z[Index(i)] : 1.0 / n;
    a[Index(i) - 1] = n * (next - z[Index(i) - 1]) * (t + i * z[0]) / t;
  }
  return a;
}

std::vector<double> NormalizedSums(std::span<const double> values) {
  const double total = std::accumulate(values.begin(), values.end(), 0.0);
  std::vector<double> sums(values.size());
  double sum = 0.0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    sum += values[i] / total;
    sums[i] = sum;
  }
  return sums;
}

std::vector<double> RevisedShares(std::span<const double> shares, std::span<const double> cumulativeShares,
                                  std::int32_t n, std::int32_t i) {
  const std::size_t others = shares.size() - Index(n);
  const double z1 = shares[others];
  const double d = i * z1 + ShareOfOthers(cumulativeShares, n);
  std::vector<double> revised(others + Index(i), z1 / d);
  for (std::size_t j = 0; j <= others; ++j) revised[j] = shares[j] / d;
  return revised;
}

std::vector<double> RatiosToLater(std::span<const double> values) {
  std::vector<double> ratios(values.empty() ? 0 : values.size() - 1);
  double later = 0.0;
  for (std::size_t k = ratios.size(); k-- > 0;) {
    later += values[k + 1];
    ratios[k] = later > 0.0 ? values[k] / later : 0.0;
  }
  return ratios;
}

void TurnProbs(std::span<const double> shares, std::span<const double> ratios, std::int32_t last,
               std::int32_t upTo, std::int32_t c, std::span<double> cumulative) {
  assert(0 <= last && last <= upTo && Index(upTo) < shares.size());
  assert(Index(upTo) <= ratios.size() && Index(upTo) < cumulative.size());
  const std::int32_t r = c + 1;
  double product = 1.0;  // B
  double total = 0.0;
  for (std::size_t j = Index(last); j <= Index(upTo); ++j) {
    const double p = r * shares[j] * product;
    cumulative[j] = p;
    total += p;
    if (j < Index(upTo)) product *= 1.0 - c * ratios[j];
  }
  const bool bPositive = total > 0.0;
  double sum = 0.0;
  for (std::size_t j = Index(last); j <= Index(upTo); ++j) {
    if (bPositive) sum += cumulative[j] / total;
    cumulative[j] = sum;
  }
}
