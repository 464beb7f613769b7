#include "backend/svselect/selection/SVSelectSamples.h"

#include <algorithm>

#include "backend/svcommon/design/DesignStage.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/selection/MethodFunctions.h"
#include "backend/svselect/selection/SVSJointWork.h"
#include "host/threads/sfLocks.h"

using MCMV::gMissingValue;

SVSelectSamples::SVSelectSamples(const SVSCompSettings* settings, std::int32_t stageNumber,
                                 SVCancelInfo* cancelInfo)
    : fpSettings(settings),
      fpStage(settings->GetStage(stageNumber)),
      fSelectMethod(fpStage != nullptr ? fpStage->methodType() : kMethodNone),
      fStageInd(stageNumber),
      fpCancelInfo(cancelInfo) {}

SVSelectSamples::~SVSelectSamples() = default;

SVStatus SVSelectSamples::Prepare(SVSUnits* units, std::vector<std::int32_t>* selected,
                                  SVSOutSamples* outSamples, std::int32_t requestSize, double requestRate) {
  fpUnits = units;
  fpSelected = selected;
  fpOutSamples = outSamples;
  fNAllSamples = units->ListCount();
  fNRequestSamples = requestSize;
  fRequestSampleRate = requestRate;
  fTotalSampleSize = 0.0;
  ClearSizes();
  if (Functions().lists != SizeLists::kNone) FormSizes();
  fpOutSamples->AddStatus(fStatus);
  return fStatus;
}

void SVSelectSamples::FormSizes() {
  const bool bLine = Functions().lists == SizeLists::kLine;
  const auto count = static_cast<std::size_t>(fNAllSamples);
  fAllSampleSizes.reserve(count);
  fProbPropSize.reserve(count);
  (bLine ? fCumSampleSizes : fCumProbPropSize).reserve(count);
  for (std::int32_t position = 0; position < fNAllSamples; ++position) {
    const double size = fpUnits->SizeOf(fpUnits->UnitAt(position));
    if (size == gMissingValue) Fail(kStatusMissingSize);
    fTotalSampleSize += size;
    fAllSampleSizes.push_back(size);
    if (bLine) fCumSampleSizes.push_back(fTotalSampleSize);
  }
  double sum = 0.0;
  for (const double size : fAllSampleSizes) {
    const double share = fTotalSampleSize > 0.0 ? size / fTotalSampleSize : 0.0;
    fProbPropSize.push_back(share);
    sum += share;
    if (!bLine) fCumProbPropSize.push_back(sum);
  }
}

SVStatus SVSelectSamples::SelectSamples() {
  if (fStatus.IsError()) return fStatus;
  fpSelected->clear();
  fSelectSampleInds.clear();
  fJointProbs.clear();
  fNSelectSamples = 0;
  LimitRequest();
  if (fNRequestSamples > 0) Draw();
  if (fpUnits->ApartCount() > 0 && !fStatus.IsError()) TakeApart();
  // Only the methods that name their units one by one have joint probabilities, which need the sizes.
  if (fSelectSampleInds.empty()) ClearSizes();
  fpOutSamples->AddStatus(fStatus);
  return fStatus;
}

SVStatus SVSelectSamples::Foresee(SVSForeseenUnits* units) {
  if (fStatus.IsError()) return fStatus;
  LimitRequest();
  ForeseeFunction* const foresee = Functions().foresee;
  if (fNRequestSamples > 0 && foresee != nullptr) {
    if (const SVStatus status = foresee(View(), units); status.IsError()) Fail(status.code);
  }
  return fStatus;
}

// Where one of the two units of a method is certain, one draw in proportion to size is left.
const MethodFunctions& SVSelectSamples::Functions() const {
  const bool isOneLeft = fpUnits != nullptr && fpUnits->ApartCount() > 0 && MethodOf(fSelectMethod).twoUnits;
  return isOneLeft ? kOneBySize : FunctionsOf(fSelectMethod);
}

// The draws of two units don't look at the request.
void SVSelectSamples::LimitRequest() {
  const SVMethod& method = MethodOf(fSelectMethod);
  if (!method.withReplacement) {
    fNRequestSamples = std::min(fNRequestSamples, fNAllSamples);
    fRequestSampleRate = std::min(fRequestSampleRate, 1.0);
  }
  const bool drawsTwo = method.twoUnits && fpUnits->ApartCount() == 0;
  if (drawsTwo && fNAllSamples >= 2 && fNRequestSamples > 0) fNRequestSamples = 2;
}

void SVSelectSamples::Draw() {
  const SVMethod& method = MethodOf(fSelectMethod);
  DrawFunction* const draw = Functions().draw;
  if (draw == nullptr) return;
  SVSTakenUnits taken(method, fpUnits, fpSelected, &fSelectSampleInds);
  const SVStatus status = draw(View(), fpRandom, &taken);
  fpUnits->FinishResults();
  fNSelectSamples = taken.Count();
  if (status.IsError()) return Fail(status.code);
  if (fNSelectSamples > 0) SetStageValues();
}

void SVSelectSamples::TakeApart() {
  const bool isNamed = MethodOf(fSelectMethod).namesUnits;
  for (std::int32_t position = fpUnits->ListCount(); position < fpUnits->Count(); ++position) {
    const std::int32_t unit = fpUnits->UnitAt(position);
    fpUnits->SetResult({unit, SVSUnits::Result::kCertain, 1.0, 1.0, 1.0});
    if (isNamed) fpSelected->push_back(unit);
  }
  fpUnits->FinishResults();
  fNSelectSamples += fpUnits->ApartCount();
  SetStageValues();
}

SVSStratumView SVSelectSamples::View() const {
  return {.units = fNAllSamples,
          .requested = fNRequestSamples,
          .sizes = fAllSampleSizes,
          .cumulativeSizes = fCumSampleSizes,
          .shares = fProbPropSize,
          .cumulativeShares = fCumProbPropSize,
          .totalSize = fTotalSampleSize,
          .limit = MethodOf(fSelectMethod).limit,
          .exact = fpSettings->ExactDesign(),
          .cancelInfo = fpCancelInfo};
}

std::vector<SVSelectSamples::StatedProb> SVSelectSamples::StatedProbs() const {
  std::vector<StatedProb> probs;
  DrawnProbsFunction* const drawnProbs = Functions().drawnProbs;
  if (drawnProbs == nullptr || fAllSampleSizes.empty()) return probs;
  const SVSStratumView stratum = View();
  for (const double drawn : drawnProbs(stratum)) {
    probs.push_back({stratum.RequestedShare(static_cast<std::int32_t>(probs.size())), drawn});
  }
  return probs;
}

void SVSelectSamples::GetStageValues(double* popSize, double* sampleSize, double* rate) const {
  *popSize = fOutPopSize;
  *sampleSize = fOutSampleSize;
  *rate = fOutSampleRate;
}

void SVSelectSamples::ClearWork() {
  if (fpSelected != nullptr) Release(fpSelected);
  Release(&fSelectSampleInds);
  ClearSizes();
  Release(&fJointProbs);
  Release(&fThreadRanges);
}

void SVSelectSamples::ClearSizes() {
  Release(&fAllSampleSizes);
  Release(&fCumSampleSizes);
  Release(&fProbPropSize);
  Release(&fCumProbPropSize);
}

void SVSelectSamples::Fail(std::int32_t code) {
  if (!fStatus.IsError()) fStatus = ErrorStatus(code);
}

void SVSelectSamples::SetStageValues() {
  fOutPopSize = fpUnits->Count();
  fOutSampleSize = fNSelectSamples;
  fOutSampleRate = static_cast<double>(fNSelectSamples) / fpUnits->Count();
}
