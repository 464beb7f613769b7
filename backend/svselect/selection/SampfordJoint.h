#pragma once

#include <span>
#include <vector>

#include "backend/svselect/selection/SVSJointMatrix.h"
#include "backend/svselect/selection/SVSJointWork.h"

// Joint inclusion probabilities of Sampford's design of n units, with Brewer's as the case n = 2.
//
// The design: a sample s has probability in proportion to prod lambda_j * sum (1 - pi_j), both over its
// units, with pi_j = n p_j and lambda_j = pi_j / (1 - pi_j). With e_m the m-th elementary symmetric sum of
// the lambda,
//
//   pi_ab = lambda_a lambda_b sum_{t=2..n} (t - pi_a - pi_b) e_{n-t}(without a, b) / D,
//   D = sum_{t=1..n} t e_{n-t}(all).
//
// How it is computed: each factor 1 + lambda_j x of the symmetric sums is divided by 1 + lambda_j and becomes
// (1 - pi_j) + pi_j x, after which a sum is a probability and nothing overflows. Let X count successes in
// independent trials of chances pi_j, X' the same without a and b. Then
//
//   pi_ab = pi_a pi_b ( ((1 - pi_a) + (1 - pi_b)) P(X' <= n-2) + E[(n-2 - X')+] ) / E[(n - X)+].
//
// X' = (units before b, without a) + (units after b). The law of the first part is M[q], q successes so far;
// of the second we keep what is still open given q: U_b[q] = P(q + . <= n-2), V_b[q] = E[(n-2 - q - .)+].
// Unit j takes each of the three one step further by f[q] := (1 - pi_j) f[q] + pi_j f[q -+ 1]: additions of
// terms of one sign, never a division of a unit out of a sum, which would cancel.
//
// Source:    [Sampford67], [Brewer63] in docs/BIBLIOGRAPHY.md. They write the symmetric sums out, computed by
//            recurrences that subtract: with uneven sizes these keep no digit from some twenty units on.
// Domain:    every p_j >= 0, n p_j < 1, sum p_j = 1. Elsewhere the values mean nothing, but are computed.
// Accuracy:  relative error below about (8 N + 8 n) 2^-53, beside what rounding n p_j does to 1 - n p_j.
// Cost:      time of order N n once and k n for a row; memory 16 k (n - 1) bytes.
class SampfordJoint : public SVSJointWork {
public:
  // `allTaken`: the design takes every unit, and each pair has probability 1.
  // `rows` are ranges of the rows of the matrix, by position. `p` is borrowed.
  SampfordJoint(std::span<const double> p, int n, bool allTaken, SVSJointMatrix matrix,
                std::vector<Range> rows);

  // Computes what the rows share. False when it was stopped; then Run() does nothing and answers false.
  // Throws std::bad_alloc where there is no memory.
  bool Prepare(const Stop& stop);

  bool Run(std::size_t range, const Stop& stop) override;
  bool RunsOnThreads() const override { return true; }

private:
  bool CountsOfUnselected(const Stop& stop, std::vector<double>* counts) const;
  void FillOpen(const std::vector<double>& counts);
  void Row(std::size_t rank);

  double Chance(std::size_t unit) const { return fn * fp[unit]; }

  std::span<const double> fp;
  double fn;
  bool fbAllTaken;
  SVSJointMatrix fMatrix;
  std::vector<Range> fvRows;

  bool fbPrepared = false;
  std::size_t fWidth = 0;              // n - 1: the values of q that leave room for both units of a pair
  std::vector<double> fvSelectChance;  // pi by rank
  std::vector<double> fvU, fvV;        // Count() x fWidth, the row of rank r being U_r and V_r
  double fSampfordConst = 0.0;         // 1 / E[(n - X)+]
};
