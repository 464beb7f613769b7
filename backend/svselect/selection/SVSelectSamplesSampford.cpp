// PPS_BREWER and PPS_SAMPFORD: the rejective procedure, and the exact draw in its place.

#include <algorithm>

#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/selection/CumulativeDraw.h"
#include "backend/svselect/selection/SVSelectSamples.h"
#include "backend/svselect/selection/SampfordDesign.h"
#include "backend/svselect/selection/SampfordFurtherDraws.h"
#include "host/numeric/MCRandomTwister.h"

void SVSelectSamples::SelectSampfordFamily() {
  const double limit = fTotalSampleSize / fNRequestSamples;
  const double firstSize = fAllSampleSizes.front();
  const bool bSizesEqual = std::all_of(fAllSampleSizes.begin(), fAllSampleSizes.end(),
                                       [firstSize](double size) { return size == firstSize; });
  if (bSizesEqual && fNRequestSamples == fNAllSamples) {
    fbAllUnitsTaken = true;
    for (std::int32_t i = 0; i < fNAllSamples; ++i) TakeUnit(i, 1.0, 1.0);
    return;
  }
  // An inclusion probability of 1 is refused as well.
  if (std::any_of(fAllSampleSizes.begin(), fAllSampleSizes.end(),
                  [limit](double size) { return size >= limit; })) {
    return Fail(kStatusInvalidSize);
  }
  if (fpSettings->ExactDesign()) {
    SelectExactSampford();
  } else {
    SelectByAttempts();
  }
}

void SVSelectSamples::SelectByAttempts() {
  SampfordFurtherDraws further(fProbPropSize, fNRequestSamples);
  std::vector<std::uint8_t> taken(fProbPropSize.size());
  std::vector<std::int32_t> sample;
  bool bAccepted = false;
  while (!bAccepted) {
    if (Cancelled()) return;
    bAccepted = SampfordAttempt(&further, &taken, &sample);
    for (const std::int32_t unit : sample) taken[static_cast<std::size_t>(unit)] = 0;
  }
  for (const std::int32_t unit : sample) TakeUnit(unit);
}

// One attempt: a first unit, then n - 1 from the others; false when one of these came twice. A failed attempt
// still makes all its draws. `taken` is clear before, and afterwards tells the units of `sample`.
bool SVSelectSamples::SampfordAttempt(SampfordFurtherDraws* further, std::vector<std::uint8_t>* taken,
                                      std::vector<std::int32_t>* sample) {
  const std::int32_t first =
      FindPosition(fCumProbPropSize, 0, fNAllSamples - 1, fpRandom->GetRealClosedOpen());
  further->Start(first);
  sample->assign(1, first);
  bool bDistinct = true;
  for (std::int32_t draw = 1; draw < fNRequestSamples; ++draw) {
    const double u = fpRandom->GetRealClosedOpen();
    if (!bDistinct) continue;
    const std::int32_t unit = further->Find(u);
    if (unit == SampfordFurtherDraws::kNone) continue;
    std::uint8_t& bTaken = (*taken)[static_cast<std::size_t>(unit)];
    bDistinct = bTaken == 0;
    if (bDistinct) sample->push_back(unit);
    bTaken = 1;
  }
  return bDistinct;
}

void SVSelectSamples::SelectExactSampford() {
  std::vector<double> inclProbs(fProbPropSize.size());
  for (std::int32_t i = 0; i < fNAllSamples; ++i) inclProbs[static_cast<std::size_t>(i)] = RequestedShare(i);
  const SampfordDesign design(inclProbs, fNRequestSamples);
  const std::vector<std::int32_t> sample = design.Draw(fpRandom, fpCancelInfo);
  if (static_cast<std::int32_t>(sample.size()) < fNRequestSamples) return Fail(kStatusCancelled);
  for (const std::int32_t unit : sample) TakeUnit(unit);
}
