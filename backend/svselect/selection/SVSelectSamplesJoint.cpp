// Joint inclusion probabilities: one thread or several over a computation that knows neither settings nor
// statuses. Which ranges there are, and on which threads they run, doesn't show in the digits.
#include <algorithm>
#include <limits>
#include <new>

#include "backend/svcommon/design/DesignStage.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/selection/MurthyJoint.h"
#include "backend/svselect/selection/PpsWorJoint.h"
#include "backend/svselect/selection/SVSJointMatrix.h"
#include "backend/svselect/selection/SVSelectSamples.h"
#include "backend/svselect/selection/SampfordJoint.h"
#include "host/threads/sfLocks.h"

namespace {

// Holds a mutex, if there is one, to the end of the block.
class OptionalLock {
public:
  explicit OptionalLock(sfMutex* mutex) : fpMutex(mutex) {
    if (fpMutex != nullptr) fpMutex->lock(sfMutex::kExclusive, nullptr, 0);
  }
  ~OptionalLock() {
    if (fpMutex != nullptr) fpMutex->unlock(nullptr, 0);
  }
  OptionalLock(const OptionalLock&) = delete;
  OptionalLock& operator=(const OptionalLock&) = delete;

private:
  sfMutex* fpMutex;
};

}  // namespace

SVStatus SVSelectSamples::PrepareThreads(std::int32_t* threadCount) {
  *threadCount = 1;
  if (fStatus.IsError()) return fStatus;
  const std::int32_t threads = std::min(fpSettings->NumThreads(), SharedItems());
  if (threads < 2) return fStatus;
  *threadCount = threads;
  StartJointWork(threads);
  if (!fStatus.IsError()) fpMutex = std::make_unique<sfMutex>();
  return fStatus;
}

void SVSelectSamples::JointProbsRange(std::int32_t index) {
  {
    const OptionalLock lock(fpMutex.get());
    if (fStatus.IsError()) return;
  }
  RunJointWork(index);
}

SVStatus SVSelectSamples::FinishThreads(const std::vector<double>** matrix) {
  fpMutex.reset();
  *matrix = nullptr;
  EndJointWork();
  if (fpCancelInfo->IsCancelled()) Fail(kStatusCancelled);
  if (!fStatus.IsError()) *matrix = &fJointProbs;
  return fStatus;
}

SVStatus SVSelectSamples::JointProbs(const std::vector<double>** matrix) {
  *matrix = nullptr;
  if (fStatus.IsError()) return fStatus;
  StartJointWork(1);
  if (fStatus.IsError()) return fStatus;
  if (fpJointWork != nullptr) RunJointWork(0);
  EndJointWork();
  if (!fStatus.IsError()) *matrix = &fJointProbs;
  return fStatus;
}

// s(N) against s(N-n+1). PPS_WOR draws by its main procedure when this is above 0, by that for equal largest
// sizes when it is 0, and not at all below.
// REQUIRES: the sizes are there, and n is from 1 to N.
int SVSelectSamples::CompareLargest() const {
  const double last = fAllSampleSizes.back();
  const double first = fAllSampleSizes[static_cast<std::size_t>(fNAllSamples - fNRequestSamples)];
  return last > first ? 1 : (last < first ? -1 : 0);
}

// Work items that threads can share: first steps of PPS_WOR, rows of the matrix for PPS_SAMPFORD, else none.
std::int32_t SVSelectSamples::SharedItems() const {
  if (fSelectSampleInds.empty()) return 0;  // the sizes are gone then
  if (fSelectMethod == kMethodPpsWor) return CompareLargest() > 0 ? fNRequestSamples : 0;
  return fSelectMethod == kMethodPpsSampford ? static_cast<std::int32_t>(fSelectSampleInds.size()) : 0;
}

void SVSelectSamples::StartJointWork(std::int32_t ranges) {
  FormJointMatrix();
  fpOutSamples->AddStatus(fStatus);
  if (fStatus.IsError() || fSelectSampleInds.empty()) return;
  const std::int32_t shared = SharedItems();
  try {
    SplitItems(shared > 0 ? shared : static_cast<std::int32_t>(fSelectSampleInds.size()), ranges);
    fpJointWork = MakeJointWork();
  } catch (const std::bad_alloc&) {
    Fail(kStatusNoMemory);
  }
}

// All missing but the diagonal, which holds the inclusion probabilities.
void SVSelectSamples::FormJointMatrix() {
  const std::size_t k = fpClusterSelectPairs->size();
  fJointProbs.clear();
  // Entries are counted in 32 bits.
  if (k * k > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    return Fail(kStatusNoMemory);
  try {
    fJointProbs.assign(k * k, MCMV::gMissingValue);
  } catch (const std::bad_alloc&) {
    return Fail(kStatusNoMemory);
  }
  for (std::size_t a = 0; a < k; ++a) {
    double weight = 0.0;
    double hits = 0.0;
    (*fpClusterSelectPairs)[a]->value.GetResults(&fJointProbs[a * k + a], &weight, &hits);
  }
}

// Ranges that differ by one item at most, the longer ones first.
void SVSelectSamples::SplitItems(std::int32_t items, std::int32_t ranges) {
  fThreadRanges.clear();
  std::int32_t first = 1;
  for (std::int32_t r = 0; r < ranges; ++r) {
    const std::int32_t size = items / ranges + (r < items % ranges ? 1 : 0);
    fThreadRanges.emplace_back(first, first + size - 1);
    first += size;
  }
}

// Null where the method has no joint probabilities. Throws std::bad_alloc where there is no memory.
std::unique_ptr<SVSJointWork> SVSelectSamples::MakeJointWork() {
  SVSJointMatrix matrix(fJointProbs, fSelectSampleInds);
  std::vector<SVSJointWork::Range> ranges;
  for (const auto& [first, last] : fThreadRanges) {
    ranges.push_back({static_cast<std::size_t>(first) - 1, static_cast<std::size_t>(last)});
  }
  const PpsWorStratum stratum{fAllSampleSizes, fProbPropSize, fCumProbPropSize, fFirstStepProbs,
                              fNRequestSamples};
  switch (fSelectMethod) {
    case kMethodPpsWor:
      if (CompareLargest() > 0) return std::make_unique<PpsWorJoint>(stratum, matrix, ranges);
      return std::make_unique<PpsWorEqualJoint>(stratum, matrix, ranges);
    case kMethodPpsMurthy:
      return std::make_unique<MurthyJoint>(fProbPropSize, matrix, ranges);
    case kMethodPpsBrewer:
    case kMethodPpsSampford: {
      auto work =
          std::make_unique<SampfordJoint>(fProbPropSize, fNRequestSamples, fbAllUnitsTaken, matrix, ranges);
      work->Prepare([this] { return fpCancelInfo->IsCancelled(); });
      return work;
    }
    default:
      return nullptr;
  }
}

// On any thread. The computations that threads can share ask with Tick(), which changes nothing.
void SVSelectSamples::RunJointWork(std::int32_t range) {
  const bool shared = fSelectMethod == kMethodPpsBrewer || SharedItems() > 0;
  const auto stop = [this, shared] { return shared ? fpCancelInfo->Tick() : fpCancelInfo->IsCancelled(); };
  std::int32_t code = kStatusCancelled;
  try {
    if (fpJointWork->Run(static_cast<std::size_t>(range), stop) && !stop()) return;
  } catch (...) {  // want of memory, or of what else a thread needs; whoever waits for the range must go on
    code = kStatusNoMemory;
  }
  const OptionalLock lock(fpMutex.get());
  Fail(code);
}

void SVSelectSamples::EndJointWork() {
  fpJointWork.reset();
  fFirstStepProbs.clear();
}
