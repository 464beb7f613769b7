#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// SVSJointMatrix is a view of the k x k matrix of joint probabilities, for the code that computes them.
//
// The matrix is in order of selection: the entry for the 0-based positions a and b is at a k + b. The
// formulas run over the units in list order, so here a selected unit is identified by its rank r = 0..k-1
// among the selected units, ascending by unit number: "unit ia comes before unit ib" is r < s.
//
// Ownership:  borrows the matrix; the list of selected units is only read by the constructor.
// Threads:    Set() of different pairs may run in parallel.
class SVSJointMatrix {
public:
  // `selected` holds the 1-based numbers of the selected units in order of selection, all different.
  // REQUIRES: matrix.size() is the square of selected.size().
  SVSJointMatrix(std::span<double> matrix, std::span<const std::int32_t> selected);

  std::size_t Count() const { return fvUnits.size(); }
  // The 0-based number of the unit at `rank`.
  std::size_t Unit(std::size_t rank) const { return fvUnits[rank]; }
  // The rank of the unit at a 0-based position.
  std::size_t Rank(std::size_t position) const { return fvRanks[position]; }
  // How many of the selected units are among the first `count` of the stratum.
  std::size_t CountAmong(std::size_t count) const;

  // Writes the value of a pair at both of its places.
  void Set(std::size_t rank, std::size_t other, double value);

private:
  std::span<double> fMatrix;
  std::vector<std::size_t> fvUnits;      // by rank
  std::vector<std::size_t> fvPositions;  // by rank
  std::vector<std::size_t> fvRanks;      // by position
};
