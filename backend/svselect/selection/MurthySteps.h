#pragma once

#include <cstdint>
#include <span>
#include <vector>

// The arithmetic of Murthy's method [Murthy57], two units drawn one after the other.

// pi(i) = (1 - r(i) + Q) p(i), with r = p / (1 - p) and Q the sum of all r. A single unit has r = 0.
std::vector<double> MurthyInclProbs(std::span<const double> shares);

// The running sums of the shares of all units but one, as parts of what that one leaves: p(k) / (1 -
// p(left)). One entry less than there are shares.
std::vector<double> SharesWithout(std::span<const double> shares, std::int32_t left);
