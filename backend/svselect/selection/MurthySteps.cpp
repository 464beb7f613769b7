#include "backend/svselect/selection/MurthySteps.h"

std::vector<double> MurthyInclProbs(std::span<const double> shares) {
  const auto ratio = [&](double p) { return shares.size() > 1 ? p / (1.0 - p) : 0.0; };
  double sum = 0.0;
  for (const double p : shares) sum += ratio(p);
  std::vector<double> inclProbs;
  inclProbs.reserve(shares.size());
  for (const double p : shares) inclProbs.push_back((1.0 - ratio(p) + sum) * p);
  return inclProbs;
}

std::vector<double> SharesWithout(std::span<const double> shares, std::int32_t left) {
  const double rest = 1.0 - shares[static_cast<std::size_t>(left)];
  std::vector<double> sums;
  sums.reserve(shares.size());
  double sum = 0.0;
  for (std::size_t k = 0; k < shares.size(); ++k) {
    if (k == static_cast<std::size_t>(left)) continue;
    sum += shares[k] / rest;
    sums.push_back(sum);
  }
  return sums;
}
