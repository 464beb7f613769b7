#pragma once

#include <cstdint>
#include <span>
#include <vector>

// SampfordFurtherDraws answers, for the rejective procedure of Sampford and Brewer, which unit a further draw
// falls to. The further draws leave the first unit f out: unit k has the probability q / ((1 - n q) G), with
// q = p(k) and G the sum of q / (1 - n q) over all units but f, and the cumulative list of these is a plain
// running sum in list order.
//
// That list differs with f in every digit, and forming it costs order N, as much as N draws. So a draw is
// looked up in running sums over all units, formed once from both ends, which tell the same position but for
// rounding. Only when `u` is so near to an end of the interval found that rounding could matter is the list
// itself formed, once for the attempt, and searched. The answers are those of the list, to the last one.
//
//   Bound: each term of the list has a relative error of some units of rounding, a sum of N terms one of N
//   units; so have the sums here, as all terms are positive. Altogether they differ by less than 4 N + 16
//   units of rounding of the total. kSafety doubles that.
//
// Use:       construct once for a stratum; Start() for each attempt; Find() for each draw.
// Ownership: borrows the shares.
// Domain:    n p(k) < 1 is meant to hold for all k. Where a term isn't finite or is negative, each attempt
//            forms its list.
class SampfordFurtherDraws {
public:
  // What Find() gives for a draw that no interval holds: rounding left the last entry of the list below it.
  static constexpr std::int32_t kNone = -1;

  SampfordFurtherDraws(std::span<const double> shares, std::int32_t n);

  // A new attempt, whose first unit is `first`, a 0-based index.
  void Start(std::int32_t first);

  // The 0-based index of the unit that `u` falls to, or kNone. REQUIRES: Start(); at least two units.
  std::int32_t Find(double u);

  // The cumulative list of the attempt, one entry for each unit but the first.
  const std::vector<double>& List();

private:
  std::int32_t FindInSums(double u) const;

  static constexpr double kSafety = 2.0;
  static constexpr std::int32_t kUnsure = -2;

  std::span<const double> fShares;  // borrowed; p
  std::int32_t fRequested;          // n
  std::int32_t fFirst = 0;
  std::vector<double> fBefore;  // sum of p / (1 - n p) over the units before each unit; one entry more
  std::vector<double> fAfter;   // the same over the units from each unit on, summed from the end
  bool fbSumsUsable = true;
  std::vector<double> fList;  // of this attempt; empty until it is needed
};
