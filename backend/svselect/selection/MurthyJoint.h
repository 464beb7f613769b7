#pragma once

#include <span>
#include <vector>

#include "backend/svselect/selection/SVSJointMatrix.h"
#include "backend/svselect/selection/SVSJointWork.h"

// Joint inclusion probability of two units in Murthy's design: two draws, the second from what the first has
// left.
//
//   pi_ab = (2 - p_a - p_b) p_a p_b / ((1 - p_a) (1 - p_b))
//
// Notation: p_j = size of unit j / total size of its stratum.
// Source:   [Murthy57] in docs/BIBLIOGRAPHY.md.
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
