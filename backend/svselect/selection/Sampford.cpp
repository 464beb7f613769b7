// PPS_BREWER, where n is 2, and PPS_SAMPFORD: n units without replacement, in proportion to size, with joint
// inclusion probabilities that a formula gives.
//
// Random numbers: for each attempt n GetRealClosedOpen, a failed attempt making all its draws; for the exact
// draw one GetRealOpen for each unit looked at, until n are taken; none for a census.
//
// The design. Draw a unit by p and n - 1 more with probabilities in proportion to p(i) / (1 - n p(i)), each
// from all units, and keep the sample when its n units are all different; else begin anew. Then unit i is in
// the sample with probability n p(i). Any way to draw with the probabilities of this design will do, and
// SampfordDesign.h has one that rejects nothing: the exact draw.
//
// Attempts. Without --exact-design the draw departs from this: its n - 1 further draws are from the units
// other than the first. So an attempt fails only when two of the further draws hit the same unit, which can't
// happen with n = 2. The samples no longer have the probabilities of the design, and units are included with
// probabilities near n p(i), while n p(i) is what is reported: for sizes 1 to 7 and n = 2 the smallest unit
// has 0.0647 where 0.0714 is stated, and the largest 0.5254 where 0.5 is. The program says so. The departure
// stays, since the same plan and seed must give the same sample for ever.
//
// Units of about equal size pass an attempt with a probability of about exp(-n n / 2N), so with many units of
// a stratum the attempts may never end; only cancellation stops them.
//
// Census. Where n = N and all sizes are equal, each unit has probability 1 and is taken.
//
// Results:  inclusion probability n p(i), weight 1 / (n p(i)); units in the order in which they were drawn.
// Source:   [Sampford67], for n = 2 [Brewer63] in docs/BIBLIOGRAPHY.md.
// Domain:   s(i) < M / n, else 92032: a probability of 1 has an infinite p / (1 - n p).
// Accuracy: that of the exact draw is SampfordDesign.h's. Which unit an attempt draws doesn't depend on
//           rounding beyond that of the sums; see SampfordFurtherDraws.h.

#include <algorithm>
#include <cmath>
#include <utility>

#include "backend/svselect/selection/CumulativeDraw.h"
#include "backend/svselect/selection/MethodFunctions.h"
#include "backend/svselect/selection/SampfordDesign.h"
#include "backend/svselect/selection/SampfordFurtherDraws.h"
#include "backend/svselect/selection/SampfordJoint.h"
#include "host/numeric/MCRandomTwister.h"

namespace {

constexpr SVSStated kCertain = {1.0, 1.0};

bool TakesAllUnits(const SVSStratumView& stratum) {
  const double firstSize = stratum.sizes.front();
  return stratum.requested == stratum.units &&
         std::all_of(stratum.sizes.begin(), stratum.sizes.end(),
                     [firstSize](double size) { return size == firstSize; });
}

// One attempt: a first unit, then n - 1 from the others; false when one of these came twice. `drawn` is clear
// before, and afterwards marks the units of `sample`.
bool Attempt(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
             SampfordFurtherDraws* further, std::vector<std::uint8_t>* drawn,
             std::vector<std::int32_t>* sample) {
  const std::int32_t first =
      FindPosition(stratum.cumulativeShares, 0, stratum.units - 1, random->GetRealClosedOpen());
  further->Start(first);
  sample->assign(1, first);
  bool bDistinct = true;
  for (std::int32_t draw = 1; draw < stratum.requested; ++draw) {
    const double u = random->GetRealClosedOpen();
    if (!bDistinct) continue;
    const std::int32_t unit = further->Find(u);
    if (unit == SampfordFurtherDraws::kNone) continue;
    std::uint8_t& bDrawn = (*drawn)[static_cast<std::size_t>(unit)];
    bDistinct = bDrawn == 0;
    if (bDistinct) sample->push_back(unit);
    bDrawn = 1;
  }
  return bDistinct;
}

SVStatus DrawByAttempts(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                        SVSTakenUnits* taken) {
  SampfordFurtherDraws further(stratum.shares, stratum.requested);
  std::vector<std::uint8_t> drawn(stratum.shares.size());
  std::vector<std::int32_t> sample;
  bool bAccepted = false;
  while (!bAccepted) {
    if (stratum.Cancelled()) return ErrorStatus(kStatusCancelled);
    bAccepted = Attempt(stratum, random, &further, &drawn, &sample);
    for (const std::int32_t unit : sample) drawn[static_cast<std::size_t>(unit)] = 0;
  }
  for (const std::int32_t unit : sample) taken->TakeBySize(stratum, unit);
  return SVStatus();
}

SVStatus DrawExactly(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                     SVSTakenUnits* taken) {
  std::vector<double> inclProbs(stratum.shares.size());
  for (std::int32_t i = 0; i < stratum.units; ++i) {
    inclProbs[static_cast<std::size_t>(i)] = stratum.RequestedShare(i);
  }
  const SampfordDesign design(inclProbs, stratum.requested);
  const std::vector<std::int32_t> sample = design.Draw(random, stratum.cancelInfo);
  if (static_cast<std::int32_t>(sample.size()) < stratum.requested) return ErrorStatus(kStatusCancelled);
  for (const std::int32_t unit : sample) taken->TakeBySize(stratum, unit);
  return SVStatus();
}

// About how many attempts a sample takes. Two of the n - 1 further draws hit the same unit with the probability
// S, the sum of the squares of the shares by which they are drawn; taking the (n - 1)(n - 2) / 2 pairs as
// independent, an attempt succeeds with the probability exp(-S (n - 1)(n - 2) / 2).
double ExpectedAttempts(const SVSStratumView& stratum) {
  double sum = 0.0;
  double squares = 0.0;
  for (const double p : stratum.shares) {
    const double q = p / (1.0 - stratum.requested * p);
    sum += q;
    squares += q * q;
  }
  const double pairs = 0.5 * (stratum.requested - 1.0) * (stratum.requested - 2.0);
  return std::exp(pairs * squares / (sum * sum));
}

}  // namespace

SVStatus DrawSampford(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                      SVSTakenUnits* taken) {
  if (TakesAllUnits(stratum)) {
    for (std::int32_t i = 0; i < stratum.units; ++i) taken->Take(i, kCertain);
    return SVStatus();
  }
  if (stratum.AnySizeTooLarge()) return ErrorStatus(kStatusInvalidSize);
  return stratum.exact ? DrawExactly(stratum, random, taken) : DrawByAttempts(stratum, random, taken);
}

SVStatus ForeseeSampford(const SVSStratumView& stratum, SVSForeseenUnits* units) {
  if (TakesAllUnits(stratum)) {
    units->TakeAll(kCertain, 1.0);
    return SVStatus();
  }
  if (stratum.AnySizeTooLarge()) return ErrorStatus(kStatusInvalidSize);
  units->TakeAllBySize(stratum);
  if (!stratum.exact) units->SetAttempts(ExpectedAttempts(stratum));
  return SVStatus();
}

// Threads share the rows of the matrix; Brewer's two aren't worth a thread.
std::int32_t SampfordSharedRows(const SVSStratumView&, std::int32_t selected) {
  return selected;
}

std::unique_ptr<SVSJointWork> SampfordJointWork(const SVSStratumView& stratum, SVSJointMatrix matrix,
                                                std::vector<SVSJointWork::Range> rows) {
  auto work = std::make_unique<SampfordJoint>(stratum.shares, stratum.requested, TakesAllUnits(stratum),
                                              std::move(matrix), std::move(rows));
  work->Prepare([&stratum] { return stratum.Cancelled(); });
  return work;
}
