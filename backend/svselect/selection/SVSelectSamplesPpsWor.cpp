// PPS_WOR, Vijayan's method [Vijayan68]. The list ascends by size (SortBySize).

#include <algorithm>

#include "backend/svselect/selection/CumulativeDraw.h"
#include "backend/svselect/selection/PpsWorSteps.h"
#include "backend/svselect/selection/SVSelectSamples.h"
#include "host/numeric/MCRandomTwister.h"

// The two procedures part where the n largest sizes are equal. A list that doesn't ascend, as sizes with
// fractions can leave it, may have neither: then nothing is selected.
void SVSelectSamples::SelectPpsWor() {
  const double largest = fAllSampleSizes.back();
  const double smallestOfLast = fAllSampleSizes[static_cast<std::size_t>(fNAllSamples - fNRequestSamples)];
  if (largest < smallestOfLast) return;
  const bool bTooLarge = std::any_of(fAllSampleSizes.begin(), fAllSampleSizes.end(), [this](double size) {
    return fNRequestSamples * size > fTotalSampleSize;
  });
  if (bTooLarge) return Fail(kStatusInvalidSize);
  if (largest > smallestOfLast) {
    SelectPpsWorMain();
  } else if (largest == smallestOfLast) {
    TakeTurns(fNRequestSamples, fProbPropSize, RatiosToLater(fAllSampleSizes));
  }
}

void SVSelectSamples::SelectPpsWorMain() {
  const std::int32_t n = fNRequestSamples;
  fFirstStepProbs = FirstStepProbs(fProbPropSize, fCumProbPropSize, n);
  const std::vector<double> cumulative = NormalizedSums(fFirstStepProbs);
  const double u = fpRandom->GetRealClosedOpen();
  const std::int32_t position = FindPosition(cumulative, 0, n - 1, u);
  const std::int32_t fromOthers = position + 1;  // i
  if (LiesInInterval(cumulative, 0, position, u)) {
    for (std::int32_t unit = fNAllSamples - n + fromOthers; unit < fNAllSamples; ++unit) TakeUnit(unit);
  }
  const std::vector<double> shares = RevisedShares(fProbPropSize, fCumProbPropSize, n, fromOthers);
  TakeTurns(fromOthers, shares, RatiosToLater(shares));
}

// Selects `turns` units one by one in ascending order. Turn t looks at the units after the one selected last,
// up to unit N - n + t, so that there are enough left for the turns to come.
void SVSelectSamples::TakeTurns(std::int32_t turns, const std::vector<double>& shares,
                                const std::vector<double>& ratios) {
  std::vector<double> cumulative(shares.size());
  std::int32_t last = 0;  // number of the unit selected last
  for (std::int32_t turn = 1; turn <= turns; ++turn) {
    if (Cancelled()) return;
    const std::int32_t upTo = fNAllSamples - fNRequestSamples + turn - 1;
    TurnProbs(shares, ratios, last, upTo, turns - turn, cumulative);
    const double u = fpRandom->GetRealClosedOpen();
    const std::int32_t unit = FindPosition(cumulative, last, upTo, u);
    if (!LiesInInterval(cumulative, last, unit, u)) continue;
    TakeUnit(unit);
    last = unit + 1;
  }
}
