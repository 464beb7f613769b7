// SIMPLE_CHROMY, where all sizes are 1, and PPS_CHROMY: n units without replacement, unit i with probability
// n p(i), spread over the list as a systematic draw spreads them, but with every pair of units possible.
//
// Random numbers: one GetRealClosedOpen for the first unit; then, at most one for each unit, a GetRealOpen
// where a step below has a chance to decide.
//
// The units are gone round in list order, cyclically, from a first one drawn by p. Let C(k) be the sum of p
// over the first k units of the round, and write n C(k), the hits expected of them, as I(k) + F(k), whole
// part and rest. The hits T(k) that they receive are always I(k) or I(k) + 1, and I(k) + 1 with the
// probability F(k): so their number strays from its expectation by less than one, and E T(k) = n C(k), which
// makes n p of each unit. A step keeps this from k - 1 to k. With n p at most 1, n C(k) passes one whole
// number at most, and then F(k) is no greater than F(k-1):
//
//   T(k-1) = I(k-1)      F(k) >  F(k-1)   one more with probability (F(k) - F(k-1)) / (1 - F(k-1))
//                        F(k) <= F(k-1)   T(k) = I(k): a certain hit, if a whole number was passed
//   T(k-1) = I(k-1) + 1  F(k) >= F(k-1)   T(k) = I(k) + 1: the hit is there already
//                        F(k) <  F(k-1)   one more than I(k) with probability F(k) / F(k-1)
//
// The two roads to I(k) + 1 have F(k) together. Without a whole number passed they have
// F(k-1) + (1 - F(k-1)) (F(k) - F(k-1)) / (1 - F(k-1)), and with one F(k-1) F(k) / F(k-1).
//
// Results:  inclusion probability n p(i), weight 1 / (n p(i)), as hits T(k) - T(k-1): 1 but for rounding.
// Source:   [Chromy79] in docs/BIBLIOGRAPHY.md, there with n p(i) of any size; here 1 is the most.
// Domain:   s(i) <= M / n, else 92032.
// Accuracy: C(k) is a plain sum, so a unit's probability is within about n N 2^-53 of n p(i), and the sample
//           has n units but for a probability of that order, with which it has one less or more.

#include "backend/svselect/selection/Sequential.h"

#include "backend/svselect/selection/CumulativeDraw.h"
#include "backend/svselect/selection/MethodFunctions.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/MCRandomTwister.h"

ExpectedHits SplitExpected(double expected) {
  const std::int32_t count = TruncateToInt32(expected);
  return {count, expected - count};
}

HitsStep NextHits(std::int32_t hits, const ExpectedHits& before, const ExpectedHits& now) {
  if (hits == before.count) {
    if (!(now.rest > before.rest)) return {now.count, false, 0.0};
    return {now.count, true, (now.rest - before.rest) / (1.0 - before.rest)};
  }
  if (now.rest >= before.rest) return {now.count + 1, false, 0.0};
  return {now.count, true, now.rest / before.rest};
}

SVStatus DrawSequential(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                        SVSTakenUnits* taken) {
  if (stratum.AnySizeTooLarge()) return ErrorStatus(kStatusInvalidSize);
  std::int32_t unit =
      FindPosition(stratum.cumulativeShares, 0, stratum.units - 1, random->GetRealClosedOpen());

  std::vector<std::int32_t> hits(static_cast<std::size_t>(stratum.units));  // by unit
  ExpectedHits before;
  std::int32_t hitsBefore = 0;
  double sum = 0.0;
  for (std::int32_t k = 0; k < stratum.units; ++k) {
    if (stratum.Cancelled()) return ErrorStatus(kStatusCancelled);
    sum += stratum.shares[static_cast<std::size_t>(unit)];
    const ExpectedHits now = SplitExpected(stratum.requested * sum);
    const HitsStep step = NextHits(hitsBefore, before, now);
    std::int32_t hitsNow = step.count;
    if (step.bDraw && step.chance > random->GetRealOpen()) ++hitsNow;
    hits[static_cast<std::size_t>(unit)] = hitsNow - hitsBefore;
    hitsBefore = hitsNow;
    before = now;
    if (++unit == stratum.units) unit = 0;
  }

  for (std::int32_t i = 0; i < stratum.units; ++i) {
    const std::int32_t count = hits[static_cast<std::size_t>(i)];
    if (count > 0) taken->TakeBySize(stratum, i, count);
  }
  return SVStatus();
}

SVStatus ForeseeSequential(const SVSStratumView& stratum, SVSForeseenUnits* units) {
  if (stratum.AnySizeTooLarge()) return ErrorStatus(kStatusInvalidSize);
  units->TakeAllBySize(stratum);
  return SVStatus();
}
