#include "backend/svselect/tabulation/SVSStratumData.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/selection/CertainUnits.h"
#include "backend/svselect/selection/SVSCallBackJointProb.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/MCMathFun.h"
#include "host/numeric/Obs.h"
#include "host/threads/sfLocks.h"
#include "host/threads/sfThreadPool.h"

namespace {

using MCMV::gMissingValue;

// Two values count as equal if they differ by no more than two roundings of the first one: a rate that a user
// computed in two ways may differ in its last bits.
constexpr double kConstTolerance = 2.0 * MCCommonMath::MCPower::gMachineEpsilon;

}  // namespace

SVSStratumData::SVSStratumData(const SVSCompSettings* settings, std::int32_t stage, SVCancelInfo* cancelInfo,
                               std::size_t constCount, std::size_t keyLength)
    : fUnits(keyLength),
      fConstValues(constCount, 0.0),
      fSelectSamples(settings, stage, cancelInfo),
      fpSettings(settings),
      fStageInd(stage) {
  const DesignStage* design = settings->GetStage(stage);
  assert(design != nullptr);
  fSelectMethod = design->methodType();
  fInclProbType = design->inclusionType();
  if (MethodOf(fSelectMethod).equalProbability) return;
  if (MethodOf(fSelectMethod).TakesCertain()) fCertaintyShare = design->certaintyShare();
  fbUseMOSData = settings->MOSFromData();
  fbUseMOSVar = !fbUseMOSData;
  fbReadsSizes = fbUseMOSVar && settings->MOSVar() >= 0;
}

bool SVSStratumData::InitConstValues(const double* record, const std::vector<std::int32_t>& variables) {
  bool allThere = true;
  for (std::size_t k = 0; k < variables.size(); ++k) {
    fConstValues[k] = record[variables[k]];
    if (fConstValues[k] == gMissingValue) allThere = false;
  }
  return allThere;
}

// A rate or size that has passed the tabulator's check is positive or missing, so `first` needs no absolute
// value. A missing value after a present one counts as different.
int SVSStratumData::CheckConstValues(const double* record, const std::vector<std::int32_t>& variables) {
  int differs = -1;
  for (std::size_t k = 0; k < variables.size(); ++k) {
    const double value = record[variables[k]];
    double& first = fConstValues[k];
    if (first == gMissingValue) {
      first = value;
      if (value != gMissingValue) differs = static_cast<int>(k);
    } else if (differs < 0 && std::fabs(first - value) > kConstTolerance * first) {
      differs = static_cast<int>(k);
    }
  }
  return differs;
}

std::int32_t SVSStratumData::AddUnit(const std::int32_t* key, double size) {
  return fUnits.Add(key, fbReadsSizes ? size : WithoutVariable());
}

// Records of a unit disagree on its measure of size. Always false.
bool SVSStratumData::Disagree() {
  if (fbConstStatus || fStatus.IsError()) return false;
  fStatus = WarningStatus(kStatusUnequalSize);
  fbConstStatus = true;
  fpOutSamples->AddStatus(fStatus);
  return false;
}

// Runs at the draw and again for each read of the request. The result is the same every time, and so are its
// warnings, which the collector drops as repeats.
void SVSStratumData::ComputeRequest() {
  const Request request = FindRequest();
  fRequestSampleSize = request.size;
  fRequestSampleRate = request.rate;
  if (!request.status.IsOK()) fStatus = request.status;
  if (!MethodOf(fSelectMethod).twoUnits) fpOutSamples->AddStatus(fStatus);
}

SVSStratumData::Request SVSStratumData::FindRequest() const {
  if (MethodOf(fSelectMethod).twoUnits)
    return {.size = 2, .rate = 2.0 / NumUnits(), .status = {}, .asked = 2.0};
  const DesignStage& design = *fpSettings->GetStage(fStageInd);
  const bool carried = !fConstValues.empty();
  if (fInclProbType == kSizeValue) return RequestSize(design.sizeValue());
  if (fInclProbType == kSizeVariable && carried) return RequestSize(fConstValues.front());
  if (fInclProbType == kRateValue) return RequestRate(design.rateValue());
  if (fInclProbType == kRateVariable && carried) return RequestRate(fConstValues.front());
  return {};
}

SVSStratumData::Request SVSStratumData::RequestSize(double size) const {
  Request request;
  if (size == gMissingValue) {
    request.status = ErrorStatus(kStatusMissingSpec);
    return request;
  }
  const std::int32_t n = TruncateToInt32(size);
  request.asked = std::trunc(size);
  if (!MethodOf(fSelectMethod).withReplacement && n > NumUnits())
    request.status = WarningStatus(kStatusSizeAboveUnits);
  if (n < 0) return request;
  request.size = n;
  if (NumUnits() > 0) request.rate = static_cast<double>(n) / NumUnits();
  return request;
}

SVSStratumData::Request SVSStratumData::RequestRate(double rate) const {
  Request request;
  if (rate == gMissingValue) {
    request.status = ErrorStatus(kStatusMissingSpec);
    return request;
  }
  if (!MethodOf(fSelectMethod).withReplacement && rate > 1.0)
    request.status = WarningStatus(kStatusRateAboveOne);
  // floor(f N + 1/2), but f N + 0.5 isn't computed: the sum could round up where f N is just below a half.
  // The step is taken as a double because an integer might already be at its largest.
  const double share = NumUnits() * rate;
  double whole = std::trunc(share);
  if (share - whole >= 0.5) whole += 1.0;
  std::int32_t n = TruncateToInt32(whole);
  // The bounds limit the size; the reported rate stays the requested one.
  const DesignStage& design = *fpSettings->GetStage(fStageInd);
  const double least = design.rateMinSize();
  const double most = design.rateMaxSize();
  if (least > 0.0 && least > n) n = TruncateToInt32(least);
  if (most > 0.0 && n > most) n = TruncateToInt32(most);
  request.asked = n < std::numeric_limits<std::int32_t>::max() ? n : whole;
  if (n < 0) return request;
  request.size = n;
  request.rate = rate;
  return request;
}

SizeBounds SVSStratumData::Bounds() const {
  return {.minimum = fpSettings->MOSMin(), .maximum = fpSettings->MOSMax()};
}

std::int32_t SVSStratumData::GetRequestSize() {
  ComputeRequest();
  return fRequestSampleSize;
}
double SVSStratumData::GetRequestRate() {
  ComputeRequest();
  return fRequestSampleRate;
}

double SVSStratumData::GetSelectRate() const {
  if (NumUnits() < 1) return gMissingValue;
  return static_cast<double>(GetNumSelected()) / NumUnits();
}

SVStatus SVSStratumData::Select() {
  fStatus = PrepareDraw();
  if (!fStatus.IsError()) fStatus = fSelectSamples.SelectSamples();
  return fStatus;
}

// The order of these steps is part of the behaviour: bounds come before sorting, which sees the bounded
// sizes. Certain units are found among these in the order of the draw.
SVStatus SVSStratumData::PrepareDraw() {
  if (fbUseMOSVar) BoundSizes(&fUnits, Bounds());
  if (MethodOf(fSelectMethod).ordersBySize) SortBySize(&fUnits, fpSettings->ExactDesign());
  fvSelected.clear();
  ComputeRequest();
  if (fStatus.IsError()) return fStatus;
  std::int32_t drawn = fRequestSampleSize;
  if (TakesCertain()) drawn = SetCertainApart(&fUnits, std::min(drawn, NumUnits()), fCertaintyShare);
  fSelectSamples.SetRandom(fpRandom);
  return fSelectSamples.Prepare(&fUnits, &fvSelected, fpOutSamples, drawn, fRequestSampleRate);
}

SVStatus SVSStratumData::GetRecordStats(std::int32_t unit, std::vector<double>* values) const {
  values->assign(kOutputKinds, gMissingValue);
  if (fStatus.IsError()) return fStatus;
  std::vector<double>& out = *values;
  if (const SVSUnits::Result* result = fUnits.ResultOf(unit); result != nullptr) {
    out[kOutInclProb] = result->inclProb;
    out[kOutWeight] = result->weight;
    out[kOutIndex] = result->hits;
    out[kOutCertain] = result->role == SVSUnits::Result::kCertain ? 1.0 : 0.0;
  }
  fSelectSamples.GetStageValues(&out[kOutPopSize], &out[kOutSampSize], &out[kOutRate]);
  return fStatus;
}

// With one thread the work is done here: a pool of one would only add its start. Threads compute fixed ranges
// of the matrix, so their number changes the speed and no digit.
SVStatus SVSStratumData::ComputeJointProbs(const std::vector<double>** matrix) {
  *matrix = nullptr;
  std::int32_t threadCount = 1;
  if (!fStatus.IsError()) fStatus = fSelectSamples.PrepareThreads(&threadCount);
  if (fStatus.IsError()) return fStatus;
  if (threadCount == 1) {
    fStatus = fSelectSamples.JointProbs(matrix);
    return fStatus;
  }
  sfCompleteTask done(threadCount);
  sfThreadPool pool(threadCount, 0);  // destroyed before `done`, which its jobs signal
  pool.init();
  for (std::int32_t thread = 0; thread < threadCount; ++thread) {
    pool.invoke(new SVSCallBackJointProb(&fSelectSamples, thread, &done), nullptr,
                sfThreadPool::kProcessScope);
  }
  done.waitAll();
  fStatus = fSelectSamples.FinishThreads(matrix);
  return fStatus;
}
