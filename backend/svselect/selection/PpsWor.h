#pragma once

#include <cstdint>
#include <span>
#include <vector>

// The arithmetic of PPS_WOR, which PpsWor.cpp explains.
//
// Notation: j = 1..N; T = c(N-n), the share of all but the last n units; z(j) = p(N-n+j) for j = 1..n, the
//           shares of these n, and z(n+1) = 1/n. Lists are 0-based: list[j-1] is entry j.
// Domain:   1 <= n <= N; with z(1) = z(n) the first step has no meaning and the turns take i = n. All values
//           are computed as written for any sizes; lists that don't ascend are the caller's responsibility.

// a(i) = n (z(i+1) - z(i)) (T + i z(1)) / T, for i = 1..n.
std::vector<double> FirstStepProbs(std::span<const double> shares, std::span<const double> cumulativeShares,
                                   std::int32_t n);

// The running sums of `values`, each divided by the sum of all.
std::vector<double> NormalizedSums(std::span<const double> values);

// Z(j), j = 1..m: p(j) / D up to j = N-n+1, and z(1) / D beyond, with D = i z(1) + T.
std::vector<double> RevisedShares(std::span<const double> shares, std::span<const double> cumulativeShares,
                                  std::int32_t n, std::int32_t i);

// Ratio of each value to the sum of all after it, summed from the end; 0 where that sum isn't positive. The
// last value has none, so the list is one shorter.
std::vector<double> RatiosToLater(std::span<const double> values);

// The cumulative selection probabilities of one turn in which c more units are still to follow: entries
// last..upTo (0-based) of `cumulative` for units last+1..upTo+1. Entries before `last` aren't touched.
//   B(k) = B(k-1) (1 - c A(k)), from B(last) = 1;  P(j) = (c + 1) Z(j) B(j-1)
// The entries grow by P(j) / sum P, or stay 0 where that sum isn't positive.
// REQUIRES: 0 <= last <= upTo < shares.size(), upTo <= ratios.size(), cumulative.size() > upTo.
void TurnProbs(std::span<const double> shares, std::span<const double> ratios, std::int32_t last,
               std::int32_t upTo, std::int32_t c, std::span<double> cumulative);
