#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class SVCancelInfo;
namespace MCCommonMath {
class MCRandomTwister;
}

// Sampford's design drawn without rejection: a sample s of n units has a probability in proportion to
//
//   prod_{j in s} lambda(j)  *  sum_{i in s} (1 - n p(i)),       lambda = p / (1 - n p),
//
// and then unit i has the inclusion probability n p(i). The units are passed once, in list order, and each is
// taken with its conditional probability given what was taken before it, which depends only on the number of
// units still to take and on a, the sum of 1 - n p over those taken.
//
// What it needs of the units i..N that follow, for each number m of units still to take among them:
//
//   R(m) = sum over their subsets of m units of prod_{in} w * prod_{out} (1 - w),      w = n p
//   H(m) = the same, each subset counted with its sum of 1 - w
//
// so that a state has weight a R(m) + H(m). This is the design's own weight but for a factor that all samples
// share, and as R adds up to 1 and H to at most n, nothing overflows. A row is formed from the row of the
// unit after it by addition of positive terms alone, so the probabilities keep nearly all their digits.
//
// Source:   [Sampford67] in docs/BIBLIOGRAPHY.md; the sequential form is ours.
// Domain:   0 <= w(i) < 1 for all units, their sum is n up to rounding, 0 < n <= N.
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

  // R and H of some suffix of the list. Entries m below a bound that goes by the use may be left at any
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
