#include "backend/svselect/selection/SVSelectSamples.h"

#include <algorithm>

#include "backend/svcommon/design/DesignStage.h"
#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/selection/SVSJointWork.h"
#include "host/threads/sfMutex.h"

using MCMV::gMissingValue;

SVSelectSamples::SVSelectSamples(const SVSCompSettings* settings, std::int32_t stageNumber,
                                 SVCancelInfo* cancelInfo)
    : fpSettings(settings),
      fpStage(settings->GetStage(stageNumber)),
      fSelectMethod(fpStage != nullptr ? fpStage->methodType() : kMethodNone),
      fStageInd(stageNumber),
      fpCancelInfo(cancelInfo) {}

SVSelectSamples::~SVSelectSamples() = default;

SVStatus SVSelectSamples::Prepare(const ClusterPairs* clusterTablePairs, ClusterPairs* clusterSelectPairs,
                                  SVSOutSamples* outSamples, std::int32_t requestSize, double requestRate) {
  fpClusterTablePairs = clusterTablePairs;
  fpClusterSelectPairs = clusterSelectPairs;
  fpOutSamples = outSamples;
  fNAllSamples = static_cast<std::int32_t>(clusterTablePairs->size());
  fNRequestSamples = requestSize;
  fRequestSampleRate = requestRate;
  fTotalSampleSize = 0.0;
  ClearSizes();
  // Those of equal probability need no sizes, but for the sequential one, which works on any.
  if (!MethodOf(fSelectMethod).equalProbability || fSelectMethod == kMethodSimpleChromy) FormSizes();
  fpOutSamples->AddStatus(fStatus);
  return fStatus;
}

// Of the two lists of running sums a method reads one, and a large stratum is spared the other: points on a
// line fall to units by S(i), all other draws by c(i).
void SVSelectSamples::FormSizes() {
  const bool bLine = fSelectMethod == kMethodPpsWr || fSelectMethod == kMethodPpsSystematic;
  const std::size_t count = fpClusterTablePairs->size();
  fAllSampleSizes.reserve(count);
  fProbPropSize.reserve(count);
  (bLine ? fCumSampleSizes : fCumProbPropSize).reserve(count);
  for (const ClusterTable::Entry* unit : *fpClusterTablePairs) {
    const double size = unit->value.GetSize();
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
  fpClusterSelectPairs->clear();
  fSelectSampleInds.clear();
  fJointProbs.clear();
  fNSelectSamples = 0;
  if (!MethodOf(fSelectMethod).withReplacement) {
    fNRequestSamples = std::min(fNRequestSamples, fNAllSamples);
    fRequestSampleRate = std::min(fRequestSampleRate, 1.0);
  }
  if (fNRequestSamples > 0) {
    RunMethod();
    if (!fStatus.IsError() && fNSelectSamples > 0) SetStageValues();
  }
  // Only the methods that name their units one by one have joint probabilities, which need the sizes.
  if (fSelectSampleInds.empty()) ClearSizes();
  fpOutSamples->AddStatus(fStatus);
  return fStatus;
}

void SVSelectSamples::RunMethod() {
  switch (fSelectMethod) {
    case kMethodSimpleWor:
      return SelectSimpleWor();
    case kMethodSimpleWr:
      return SelectSimpleWr();
    case kMethodSimpleSystematic:
      return SelectSimpleSystematic();
    case kMethodSimpleChromy:
    case kMethodPpsChromy:
      return SelectSequential();
    case kMethodPpsWor:
      return SelectPpsWor();
    case kMethodPpsWr:
      return SelectPpsWr();
    case kMethodPpsSystematic:
      return SelectPpsSystematic();
    case kMethodPpsBrewer:
      if (fNAllSamples >= 2) fNRequestSamples = 2;
      return SelectSampfordFamily();
    case kMethodPpsMurthy:
      return SelectMurthy();
    case kMethodPpsSampford:
      return SelectSampfordFamily();
    default:
      return;
  }
}

void SVSelectSamples::GetStageValues(double* popSize, double* sampleSize, double* rate) const {
  *popSize = fOutPopSize;
  *sampleSize = fOutSampleSize;
  *rate = fOutSampleRate;
}

void SVSelectSamples::ClearWork() {
  if (fpClusterSelectPairs != nullptr) Release(fpClusterSelectPairs);
  Release(&fSelectSampleInds);
  ClearSizes();
  Release(&fJointProbs);
  Release(&fThreadRanges);
  Release(&fFirstStepProbs);
}

void SVSelectSamples::ClearSizes() {
  Release(&fAllSampleSizes);
  Release(&fCumSampleSizes);
  Release(&fProbPropSize);
  Release(&fCumProbPropSize);
}

bool SVSelectSamples::Cancelled() {
  if (!fpCancelInfo->IsCancelled()) return false;
  Fail(kStatusCancelled);
  return true;
}

void SVSelectSamples::Fail(std::int32_t code) {
  if (!fStatus.IsError()) fStatus = ErrorStatus(code);
}

void SVSelectSamples::SetStageValues() {
  fOutPopSize = fNAllSamples;
  fOutSampleSize = fNSelectSamples;
  fOutSampleRate = static_cast<double>(fNSelectSamples) / fNAllSamples;
}

void SVSelectSamples::TakeUnit(std::int32_t index, double inclProb, double weight) {
  ClusterTable::Entry* unit = (*fpClusterTablePairs)[static_cast<std::size_t>(index)];
  unit->value.SetResults(inclProb, weight, 1.0);
  fpClusterSelectPairs->push_back(unit);
  fSelectSampleInds.push_back(index + 1);
  ++fNSelectSamples;
}

bool SVSelectSamples::AnySizeAbove(double limit) const {
  return std::any_of(fAllSampleSizes.begin(), fAllSampleSizes.end(),
                     [limit](double size) { return size > limit; });
}
