// PPS_MURTHY: two units without replacement, drawn one after the other, each in proportion to size.
//
// Random numbers: one GetRealClosedOpen, and a second one if there are two units or more.
//
// The first draw takes unit i with probability p(i). The second takes one of the others, unit j with
// probability p(j) / (1 - p(i)). This is the plainest draw without replacement in proportion to size, and its
// inclusion probabilities are in proportion to nothing: a unit comes first, or second after any other,
//
//   pi(i) = p(i) + sum_{j != i} p(j) p(i) / (1 - p(j)) = (1 - r(i) + Q) p(i),
//
// with r(j) = p(j) / (1 - p(j)) and Q the sum of all r. Large units get less than 2 p(i), small ones more,
// and all pi(i) add up to 2. So sizes need no limit: however large a unit, its pi(i) stays below 1. Shares
// 0.5, 0.3 and 0.2 have 0.839, 0.675 and 0.486.
//
// Where one unit has the whole size, 1 - p is 0 and Q infinite. The first draw takes that unit, with an
// inclusion probability of NaN and so without a weight; the second finds no unit.
//
// Results:  inclusion probability pi(i), weight 1 / pi(i).
// Source:   [Murthy57] in docs/BIBLIOGRAPHY.md.
// Domain:   any sizes; n isn't looked at.
// Accuracy: relative error of pi(i) about N (1 + r(i)) 2^-53, beside what rounding 1 - p makes: Q has the
//           error of a plain sum, and r(i) can be nearly all of it. The draws are within about N 2^-53 of
//           their probabilities.

#include "backend/svselect/selection/Murthy.h"

#include <utility>

#include "backend/svselect/selection/CumulativeDraw.h"
#include "backend/svselect/selection/MethodFunctions.h"
#include "host/numeric/MCRandomTwister.h"
#include "host/numeric/Obs.h"

std::vector<double> MurthyInclProbs(std::span<const double> shares) {
  const auto ratio = [&](double p) { return shares.size() > 1 ? p / (1.0 - p) : 0.0; };
  double sum = 0.0;
  for (const double p : shares) sum += ratio(p);
  std::vector<double> inclProbs;
  inclProbs.reserve(shares.size());
  for (const double p : shares) inclProbs.push_back((1.0 - ratio(p) + sum) * p);
  return inclProbs;
}

std::vector<double> SharesWithout(std::span<const double> shares, std::int32_t left) {
  const double rest = 1.0 - shares[static_cast<std::size_t>(left)];
  std::vector<double> sums;
  sums.reserve(shares.size());
  double sum = 0.0;
  for (std::size_t k = 0; k < shares.size(); ++k) {
    if (k == static_cast<std::size_t>(left)) continue;
    sum += shares[k] / rest;
    sums.push_back(sum);
  }
  return sums;
}

SVStatus DrawMurthy(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                    SVSTakenUnits* taken) {
  const std::vector<double> inclProbs = MurthyInclProbs(stratum.shares);
  const auto take = [&](std::int32_t unit) {
    const double inclProb = inclProbs[static_cast<std::size_t>(unit)];
    taken->Take(unit, {inclProb, WeightOf(inclProb)});
  };

  const double u1 = random->GetRealClosedOpen();
  const std::int32_t first = FindPosition(stratum.cumulativeShares, 0, stratum.units - 1, u1);
  if (LiesInInterval(stratum.cumulativeShares, 0, first, u1)) take(first);
  if (stratum.units < 2) return SVStatus();

  // The second draw is from all units but that one, whether it was selected or not.
  const std::vector<double> others = SharesWithout(stratum.shares, first);
  const double u2 = random->GetRealClosedOpen();
  const std::int32_t position = FindPosition(others, 0, stratum.units - 2, u2);
  if (LiesInInterval(others, 0, position, u2)) take(position < first ? position : position + 1);
  return SVStatus();
}

SVStatus ForeseeMurthy(const SVSStratumView& stratum, SVSForeseenUnits* units) {
  const std::vector<double> inclProbs = MurthyInclProbs(stratum.shares);
  for (std::int32_t i = 0; i < stratum.units; ++i) {
    const double inclProb = inclProbs[static_cast<std::size_t>(i)];
    units->Take(i, {inclProb, WeightOf(inclProb)}, inclProb);
  }
  return SVStatus();
}

double MurthyJointProb(double pa, double pb) {
  if (!(pa < 1.0) || !(pb < 1.0)) return MCMV::gMissingValue;
  if (pa <= 0.0 || pb <= 0.0) return 0.0;
  return (2.0 - pa - pb) * (pb * pa) / ((1.0 - pb) * (1.0 - pa));
}

MurthyJoint::MurthyJoint(std::span<const double> p, SVSJointMatrix matrix, std::vector<Range> rows)
    : fp(p), fMatrix(std::move(matrix)), fvRows(std::move(rows)) {}

bool MurthyJoint::Run(std::size_t range, const Stop& stop) {
  for (std::size_t position = fvRows[range].begin; position < fvRows[range].end; ++position) {
    if (stop()) return false;
    const std::size_t rank = fMatrix.Rank(position);
    for (std::size_t other = rank + 1; other < fMatrix.Count(); ++other) {
      fMatrix.Set(rank, other, MurthyJointProb(fp[fMatrix.Unit(rank)], fp[fMatrix.Unit(other)]));
    }
  }
  return true;
}

std::unique_ptr<SVSJointWork> MurthyJointWork(const SVSStratumView& stratum, SVSJointMatrix matrix,
                                              std::vector<SVSJointWork::Range> rows) {
  return std::make_unique<MurthyJoint>(stratum.shares, std::move(matrix), std::move(rows));
}
