#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "backend/svselect/selection/SVSJointMatrix.h"
#include "backend/svselect/selection/SVSJointWork.h"
#include "backend/svselect/selection/SVSStratumView.h"

// Joint inclusion probabilities of PPS without replacement where the last n units aren't all of one size. The
// stratum is as the draw has left it: units in the order of the draw, ascending by size, with s, p and c. It
// is borrowed.
//
//   pi_ab = sum_{i=1..n} a(i) C_i(a, b)
//
// The first step takes the units beyond m = N-n+i for certain, with probability a(i); i units are then drawn
// from the first m with revised shares Z. For units ia < ib
//   C_i = 1                                  where ia > m,
//   C_i = i Z(ia)                            where ia <= m < ib,
//   C_i = (i-1) i Z(ib) A(ia) B(ia-1)        where ib <= m,
// A(k) = Z(k) / sum of Z beyond k, B(k) = product of 1 - A up to k; factors of 1 or more count as 1.
//
// Source:    [Vijayan68] in docs/BIBLIOGRAPHY.md. a(i) is used as it stands, without a division by the sum.
// Domain:    a(i) >= 0, which the order by size gives. Otherwise the values are still computed, but mean
//            nothing.
// Digits:    an entry is the sum of its n terms in ascending order of i, whatever the number of ranges.
// Cost:      time of order n (N + k k); memory 24 n k bytes.
//
// Two phases. Range r first makes the factors of its own steps i, and those of other ranges that nobody has
// begun; then it sums up its share of the rows of the matrix over all i. Each range's factors are made once.
class PpsWorJoint : public SVSJointWork {
public:
  // `steps` are consecutive ranges of i - 1, from 0 to n. Throws std::bad_alloc where there is no memory.
  PpsWorJoint(const SVSStratumView& stratum, SVSJointMatrix matrix, std::vector<Range> steps);

  bool Run(std::size_t range, const Stop& stop) override;
  bool RunsOnThreads() const override { return true; }

private:
  // What a step i gives to the pairs, by rank; only the ranks below `inside` have factors.
  struct Step {
    double d;            // D = i z(1) + T: what the shares are divided by
    std::size_t inside;  // the selected units among the first m
  };
  struct Scratch {
    std::vector<double> z, a, b;  // Z, A, B by unit
  };

  bool Stopped(const Stop& stop);
  void MakeSteps(const Range& steps, const Stop& stop, Scratch* scratch);
  void MakeStep(std::size_t step, Scratch* scratch);
  void SumRows(std::size_t firstRow, std::size_t endRow, std::vector<double>* sums);
  void AddStep(std::size_t step, std::size_t row, double* sums) const;
  double OutsideTerm(std::size_t step, std::size_t row) const;

  SVSStratumView fStratum;
  SVSJointMatrix fMatrix;
  std::vector<Range> fvSteps;
  std::vector<double> fvFirstStep;  // a(i) by i - 1
  double fT;                        // share of all units but the last n
  double fz1;                       // share of the first of the last n

  std::vector<Step> fvStep;                  // by i - 1
  std::unique_ptr<double[]> fpTail;          // n x k, as the next two: (i-1) i Z(ib)
  std::unique_ptr<double[]> fpRatio;         // A(ia)
  std::unique_ptr<double[]> fpRun;           // B(ia-1), 1 for the first unit
  std::unique_ptr<std::once_flag[]> fpMade;  // by range
  std::atomic<bool> fbStopped{false};        // one range was told to stop: all of them end
};

// The same where the last n units are all of one size:
//
//   pi_ab = (n-1) n A(ia) p(ib) B(ia-1),   A(k) = s(k) / sum of s beyond k.
//
// Ranges are of rows, by position.
class PpsWorEqualJoint : public SVSJointWork {
public:
  PpsWorEqualJoint(const SVSStratumView& stratum, SVSJointMatrix matrix, std::vector<Range> rows);

  bool Run(std::size_t range, const Stop& stop) override;

private:
  SVSStratumView fStratum;
  SVSJointMatrix fMatrix;
  std::vector<Range> fvRows;
  std::vector<double> fvA, fvB;  // by unit, all but the last
};
