#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class SVCancelInfo;
namespace MCCommonMath {
class MCRandomTwister;
}

// Sampford's design drawn without rejection. With w(i) = n p(i), a sample s of n units has a probability in
// proportion to
//
//   prod_{j in s} lambda(j)  *  sum_{i in s} (1 - w(i)),       lambda = w / (1 - w),
//
// and then unit i has the inclusion probability w(i).
//
// The idea: pass the units once, in list order, and take each with its conditional probability given what was
// taken before it. That is the weight of all samples that go on by taking the unit, over the weight of all
// that go on at all; so we need the summed weight of the ways to complete a sample.
//
// A state. Let some units be taken already, let a be the sum of their 1 - w, and let m units be still to take
// from those that follow. A completion t by m of these has the weight
//
//   prod_{j in t} lambda(j)  *  (a + sum_{i in t} (1 - w(i)))
//
// but for the product of the lambda already taken, which is the same for all t. Multiply it by the product of
// 1 - w over all units that follow, which is also the same for all t: each lambda becomes w, and each unit
// left out counts with 1 - w. The sum over all completions is
//
//   a R(m) + H(m),
//   R(m) = sum over the subsets t of m units of prod_{in t} w * prod_{not in t} (1 - w),
//   H(m) = the same, each subset counted with its sum of 1 - w.
//
// So of the past only m and a matter, and of the future only a row of R and H for each unit. R(m) is the
// probability of m successes in independent trials of chances w, so all R add up to 1 and all H to at most n,
// and nothing overflows.
//
// A step. Let R and H be those of the units after unit i. Taking it leaves w ((a + 1 - w) R(m-1) + H(m-1)),
// leaving it out (1 - w) (a R(m) + H(m)); TakeProbability() is the first over both. The same two cases form
// the rows, from the last unit to the first (PrependUnit), by addition of positive terms alone, so the
// probabilities keep nearly all their digits.
//
// Memory. N rows of n entries are too many for a large stratum, and the draw needs the row first that was
// formed last. So the units are cut into blocks: on the way from the last unit to the first only one row a
// block is kept, and the rows of a block are formed again when the draw comes to it. That doubles the work,
// and leaves the draw the same to the last bit.
//
// Source:   [Sampford67] in docs/BIBLIOGRAPHY.md; the sequential form is ours.
// Domain:   0 <= w(i) < 1 for all units, their sum is n up to rounding, 0 < n <= N.
// Accuracy: entries of a row have a relative error of about 4 N 2^-53, beside what rounding 1 - w makes.
// Cost:     order N n time. Memory: rows of a block at a time are kept, at most `rowBytes` bytes, for each
//           level of blocks within blocks, of which two do but for enormous N n; and a few rows of n.
class SampfordDesign {
public:
  static constexpr std::size_t kRowBytes = std::size_t{1} << 24;

  explicit SampfordDesign(std::span<const double> inclProbs, std::int32_t n,
                          std::size_t rowBytes = kRowBytes);

  // Draws the sample: 0-based indices, ascending. One GetRealOpen for each unit examined, and none once n are
  // taken. Gives fewer than n only when cancelled.
  std::vector<std::int32_t> Draw(MCCommonMath::MCRandomTwister* random, SVCancelInfo* cancelInfo) const;

  // R and H of some suffix of the list. Entries below the smallest m that the caller needs may have any
  // value.
  struct Cell {
    double r;
    double h;
  };
  using Row = std::vector<Cell>;

  // The row after the last unit: only m = 0 is possible.
  static Row EmptyRow(std::int32_t n);

  // The row of a unit of inclusion probability w and of all after it, from `after`; entries lowest..highest.
  static void PrependUnit(double w, const Cell* after, Cell* row, std::int32_t lowest, std::int32_t highest);

  // The probability that a unit of inclusion probability w is taken, when m units are still to be taken from
  // it and the `following` ones after it, given the entries m - 1 and m of their row. REQUIRES: 0 < m <=
  // following + 1.
  static double TakeProbability(double w, double a, const Cell& less, const Cell& same, std::int32_t m,
                                std::int32_t following);

private:
  struct Progress;
  void DrawBlock(std::int32_t begin, std::int32_t end, const Row& afterEnd, Progress* progress) const;
  void DrawUnits(std::int32_t begin, std::int32_t end, const Row& afterEnd, Progress* progress) const;

  std::span<const double> fInclProbs;  // borrowed; w
  std::int32_t fRequested;             // n
  std::size_t fRowBytes;
};
