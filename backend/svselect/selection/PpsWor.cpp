// PPS_WOR: n units without replacement, unit i with probability n p(i), and with joint inclusion
// probabilities that a formula gives. The list ascends by size (SortBySize).
//
// Random numbers: one GetRealClosedOpen for the first step and one for each of its i turns; where the n
// largest sizes are equal, n for the turns alone.
//
// Turns. Suppose that the last n of N units have the same share z. Draw the first unit of the sample, in list
// order, then the next, and so on: turn t, with c turns to follow, looks at the units after the one taken
// last, as far as unit N - n + t, so that enough are left for the turns to come. Unit j gets a probability in
// proportion to
//
//   P(j) = (c + 1) p(j) prod (1 - c A(k)) over the k from the last unit taken to before j,
//   A(k) = p(k) / the sum of p beyond k.
//
// Over all turns this gives each unit n p(i), which needs equal shares at the end of the list.
//
// First step. The last n units mostly differ, so the procedure mixes lists in which they don't. It draws a
// number i from 1 to n with a probability in proportion to
//
//   a(i) = n (z(i+1) - z(i)) (T + i z(1)) / T,
//
// takes the last n - i units for certain and leaves i units to be drawn by turns from the first m = N - n +
// i. Their shares are revised: those of the last i are cut down to z(1), and all are divided by their sum D =
// T + i z(1). Sizes ascend, so no a(i) is negative. A unit of the last n that is larger than the first of
// them is certain more often, and so makes up for the share that the turns cut off. PpsWorJoint.h has the
// joint probabilities of this mix.
//
// Results:  inclusion probability n p(i), weight 1 / (n p(i)).
// Source:   [Vijayan68] in docs/BIBLIOGRAPHY.md.
// Domain:   n s(i) <= M, else 92032. SortBySize() orders by whole parts unless the design is exact, so
//           fractions can leave the list out of order: then the probabilities are only near n p(i), and if
//           the last size is below the first of the last n, nothing is drawn at all.
// Accuracy: beyond unit k there are at least c + 1 units, none smaller, so c A(k) is at most c / (c + 1), and
//           1 - c A(k) loses no more digits than c + 1 has.

#include "backend/svselect/selection/PpsWor.h"

#include <algorithm>
#include <cassert>
#include <numeric>
#include <utility>

#include "backend/svselect/selection/CumulativeDraw.h"
#include "backend/svselect/selection/MethodFunctions.h"
#include "backend/svselect/selection/PpsWorJoint.h"
#include "host/numeric/MCRandomTwister.h"

namespace {
std::size_t Index(std::int32_t i) {
  return static_cast<std::size_t>(i);
}

// T, the share of all units but the last n.
double ShareOfOthers(std::span<const double> cumulativeShares, std::int32_t n) {
  const std::size_t others = cumulativeShares.size() - Index(n);
  return others > 0 ? cumulativeShares[others - 1] : 0.0;
}
}  // namespace

std::vector<double> FirstStepProbs(std::span<const double> shares, std::span<const double> cumulativeShares,
                                   std::int32_t n) {
  const std::span<const double> z = shares.last(Index(n));
  const double t = ShareOfOthers(cumulativeShares, n);
  std::vector<double> a(z.size());
  for (std::int32_t i = 1; i <= n; ++i) {
    const double next = i < n ? z[Index(i)] : 1.0 / n;
    a[Index(i) - 1] = n * (next - z[Index(i) - 1]) * (t + i * z[0]) / t;
  }
  return a;
}

std::vector<double> NormalizedSums(std::span<const double> values) {
  const double total = std::accumulate(values.begin(), values.end(), 0.0);
  std::vector<double> sums(values.size());
  double sum = 0.0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    sum += values[i] / total;
    sums[i] = sum;
  }
  return sums;
}

std::vector<double> RevisedShares(std::span<const double> shares, std::span<const double> cumulativeShares,
                                  std::int32_t n, std::int32_t i) {
  const std::size_t others = shares.size() - Index(n);
  const double z1 = shares[others];
  const double d = i * z1 + ShareOfOthers(cumulativeShares, n);
  std::vector<double> revised(others + Index(i), z1 / d);
  for (std::size_t j = 0; j <= others; ++j) revised[j] = shares[j] / d;
  return revised;
}

std::vector<double> RatiosToLater(std::span<const double> values) {
  std::vector<double> ratios(values.empty() ? 0 : values.size() - 1);
  double later = 0.0;
  for (std::size_t k = ratios.size(); k-- > 0;) {
    later += values[k + 1];
    ratios[k] = later > 0.0 ? values[k] / later : 0.0;
  }
  return ratios;
}

void TurnProbs(std::span<const double> shares, std::span<const double> ratios, std::int32_t last,
               std::int32_t upTo, std::int32_t c, std::span<double> cumulative) {
  assert(0 <= last && last <= upTo && Index(upTo) < shares.size());
  assert(Index(upTo) <= ratios.size() && Index(upTo) < cumulative.size());
  const std::int32_t r = c + 1;
  double product = 1.0;  // B
  double total = 0.0;
  for (std::size_t j = Index(last); j <= Index(upTo); ++j) {
    const double p = r * shares[j] * product;
    cumulative[j] = p;
    total += p;
    if (j < Index(upTo)) product *= 1.0 - c * ratios[j];
  }
  const bool bPositive = total > 0.0;
  double sum = 0.0;
  for (std::size_t j = Index(last); j <= Index(upTo); ++j) {
    if (bPositive) sum += cumulative[j] / total;
    cumulative[j] = sum;
  }
}

namespace {

// s(N) against s(N-n+1): 1 when it is above, so that the first step has a meaning; 0 when the n largest sizes
// are equal, and the turns take them all; -1 when the list is out of order, or one of the two is NaN.
int CompareLargest(const SVSStratumView& stratum) {
  const double last = stratum.sizes.back();
  const double first = stratum.sizes[Index(stratum.units - stratum.requested)];
  return last > first ? 1 : (last == first ? 0 : -1);
}

// The product, where other methods compare with M / n: in a tie rounding can part the two.
bool AnyTooLarge(const SVSStratumView& stratum) {
  return std::any_of(stratum.sizes.begin(), stratum.sizes.end(),
                     [&](double size) { return stratum.requested * size > stratum.totalSize; });
}

// Takes `turns` units one by one in ascending order.
SVStatus TakeTurns(const SVSStratumView& stratum, std::int32_t turns, std::span<const double> shares,
                   std::span<const double> ratios, MCCommonMath::MCRandomTwister* random,
                   SVSTakenUnits* taken) {
  std::vector<double> cumulative(shares.size());
  std::int32_t last = 0;  // number of the unit taken last
  for (std::int32_t turn = 1; turn <= turns; ++turn) {
    if (stratum.Cancelled()) return ErrorStatus(kStatusCancelled);
    const std::int32_t upTo = stratum.units - stratum.requested + turn - 1;
    TurnProbs(shares, ratios, last, upTo, turns - turn, cumulative);
    const double u = random->GetRealClosedOpen();
    const std::int32_t unit = FindPosition(cumulative, last, upTo, u);
    if (!LiesInInterval(cumulative, last, unit, u)) continue;  // the turn still counts
    taken->TakeBySize(stratum, unit);
    last = unit + 1;
  }
  return SVStatus();
}

// Takes the units that are certain. Gives i, the number that the turns have still to take.
std::int32_t TakeFirstStep(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                           SVSTakenUnits* taken) {
  const std::int32_t n = stratum.requested;
  const std::vector<double> cumulative =
      NormalizedSums(FirstStepProbs(stratum.shares, stratum.cumulativeShares, n));
  const double u = random->GetRealClosedOpen();
  const std::int32_t position = FindPosition(cumulative, 0, n - 1, u);
  const std::int32_t fromOthers = position + 1;
  if (LiesInInterval(cumulative, 0, position, u)) {
    for (std::int32_t unit = stratum.units - n + fromOthers; unit < stratum.units; ++unit) {
      taken->TakeBySize(stratum, unit);
    }
  }
  return fromOthers;
}

}  // namespace

// Takes units as it goes: a cancelled draw leaves the first ones taken.
SVStatus DrawPpsWor(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                    SVSTakenUnits* taken) {
  const int largest = CompareLargest(stratum);
  if (largest < 0) return SVStatus();
  if (AnyTooLarge(stratum)) return ErrorStatus(kStatusInvalidSize);
  if (largest == 0) {
    return TakeTurns(stratum, stratum.requested, stratum.shares, RatiosToLater(stratum.sizes), random, taken);
  }
  const std::int32_t turns = TakeFirstStep(stratum, random, taken);
  const std::vector<double> shares =
      RevisedShares(stratum.shares, stratum.cumulativeShares, stratum.requested, turns);
  return TakeTurns(stratum, turns, shares, RatiosToLater(shares), random, taken);
}

SVStatus ForeseePpsWor(const SVSStratumView& stratum, SVSForeseenUnits* units) {
  if (CompareLargest(stratum) < 0) return SVStatus();
  if (AnyTooLarge(stratum)) return ErrorStatus(kStatusInvalidSize);
  units->TakeAllBySize(stratum);
  return SVStatus();
}

// Threads share the first steps i = 1..n.
std::int32_t PpsWorSharedSteps(const SVSStratumView& stratum, std::int32_t) {
  return CompareLargest(stratum) > 0 ? stratum.requested : 0;
}

std::unique_ptr<SVSJointWork> PpsWorJointWork(const SVSStratumView& stratum, SVSJointMatrix matrix,
                                              std::vector<SVSJointWork::Range> ranges) {
  if (CompareLargest(stratum) > 0) {
    return std::make_unique<PpsWorJoint>(stratum, std::move(matrix), std::move(ranges));
  }
  return std::make_unique<PpsWorEqualJoint>(stratum, std::move(matrix), std::move(ranges));
}
