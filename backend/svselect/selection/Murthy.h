#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "backend/svselect/selection/SVSJointMatrix.h"
#include "backend/svselect/selection/SVSJointWork.h"

// The arithmetic of Murthy's method, which Murthy.cpp explains, and its joint inclusion probabilities.

// pi(i) = (1 - r(i) + Q) p(i), with r = p / (1 - p) and Q the sum of all r. A single unit has r = 0.
std::vector<double> MurthyInclProbs(std::span<const double> shares);

// The running sums of the shares of all units but one, as parts of what that one leaves: p(k) / (1 -
// p(left)). One entry less than there are shares.
std::vector<double> SharesWithout(std::span<const double> shares, std::int32_t left);

// Joint inclusion probability of two units: the sum of p_a p_b / (1 - p_a) and p_b p_a / (1 - p_b), the two
// orders in which they can be drawn.
//
//   pi_ab = (2 - p_a - p_b) p_a p_b / ((1 - p_a) (1 - p_b))
//
// Domain:   p_j < 1, else the result is missing; a unit with p_j <= 0 has probability 0.
// Accuracy: relative error within 9 2^-53 of the exact value for the given p, beside what rounding 1 - p
// makes.
double MurthyJointProb(double pa, double pb);

// Ranges are of rows, by position. `p` is borrowed.
class MurthyJoint : public SVSJointWork {
public:
  MurthyJoint(std::span<const double> p, SVSJointMatrix matrix, std::vector<Range> rows);

  bool Run(std::size_t range, const Stop& stop) override;

private:
  std::span<const double> fp;
  SVSJointMatrix fMatrix;
  std::vector<Range> fvRows;
};
