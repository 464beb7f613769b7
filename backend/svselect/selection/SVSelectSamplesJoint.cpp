// Joint inclusion probabilities: one thread or several over a computation that knows neither settings nor
// statuses. Which ranges there are, and on which threads they run, doesn't show in the digits.
#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/selection/MethodFunctions.h"
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

// Work items that threads can share.
std::int32_t SVSelectSamples::SharedItems() const {
  SharedItemsFunction* const items = Functions().sharedItems;
  if (items == nullptr || fSelectSampleInds.empty()) return 0;  // without selected units the sizes are gone
  return items(View(), static_cast<std::int32_t>(fSelectSampleInds.size()));
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

// Of the drawn units: all missing but the diagonal, which holds the inclusion probabilities.
void SVSelectSamples::FormJointMatrix() {
  const std::size_t k = fSelectSampleInds.size();
  const std::size_t all = fpSelected->size();
  fJointProbs.clear();
  // Entries are counted in 32 bits.
  if (all * all > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    return Fail(kStatusNoMemory);
  try {
    fJointProbs.assign(k * k, MCMV::gMissingValue);
  } catch (const std::bad_alloc&) {
    return Fail(kStatusNoMemory);
  }
  for (std::size_t a = 0; a < k; ++a) {
    fJointProbs[a * k + a] = fpUnits->ResultOf((*fpSelected)[a])->inclProb;
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

// Null if the method has no joint probabilities. Throws std::bad_alloc.
std::unique_ptr<SVSJointWork> SVSelectSamples::MakeJointWork() {
  JointFunction* const joint = Functions().joint;
  if (joint == nullptr) return nullptr;
  std::vector<SVSJointWork::Range> ranges;
  for (const auto& [first, last] : fThreadRanges) {
    ranges.push_back({static_cast<std::size_t>(first) - 1, static_cast<std::size_t>(last)});
  }
  return joint(View(), SVSJointMatrix(fJointProbs, fSelectSampleInds), std::move(ranges));
}

// Runs on any thread. Work that is shared by threads asks with Tick(), which changes nothing.
void SVSelectSamples::RunJointWork(std::int32_t range) {
  const bool shared = fpJointWork->RunsOnThreads();
  const auto stop = [this, shared] { return shared ? fpCancelInfo->Tick() : fpCancelInfo->IsCancelled(); };
  std::int32_t code = kStatusCancelled;
  try {
    if (fpJointWork->Run(static_cast<std::size_t>(range), stop) && !stop()) return;
  } catch (...) {
    // The work allocates and does arithmetic, nothing else, so in practice this is std::bad_alloc. Whatever
    // it is, it must not leave the thread's function, and the code says what the run lacks: the joint
    // probabilities.
    code = kStatusNoMemory;
  }
  const OptionalLock lock(fpMutex.get());
  Fail(code);
}

void SVSelectSamples::EndJointWork() {
  fpJointWork.reset();
  if (fStatus.IsError() || fpUnits->ApartCount() == 0) return;
  try {
    AddApartToMatrix();
  } catch (const std::bad_alloc&) {
    Fail(kStatusNoMemory);
  }
}

// A unit that is certain is in the sample whenever another one is.
void SVSelectSamples::AddApartToMatrix() {
  const std::size_t drawn = fSelectSampleInds.size();
  const std::size_t all = fpSelected->size();
  std::vector<double> whole(all * all, 1.0);
  for (std::size_t a = 0; a < drawn; ++a) {
    for (std::size_t b = 0; b < all; ++b) {
      const double prob = fJointProbs[a * drawn + (b < drawn ? b : a)];
      whole[a * all + b] = prob;
      whole[b * all + a] = prob;
    }
  }
  fJointProbs = std::move(whole);
}
