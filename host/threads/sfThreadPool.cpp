#include "host/threads/sfThreadPool.h"

#include <new>
#include <system_error>
#include <utility>

#include "host/threads/CallBackObject.h"

namespace {
void Run(CallBackObject& job) {
  try {
    job.callBack();
  } catch (...) {
    // The job reports its own failures; leaving the thread's function with an exception would end the
    // process.
  }
}
}  // namespace

sfThreadPoolBase::sfThreadPoolBase(int threadCount) : fThreadCount(threadCount) {}

sfThreadPoolBase::~sfThreadPoolBase() {
  {
    const std::lock_guard guard(fMutex);
    fbClosing = true;
  }
  fChanged.notify_all();
  for (std::thread& thread : fvThreads) thread.join();
}

void sfThreadPoolBase::init() {
  if (fbStarted) return;
  fbStarted = true;
  try {
    for (int i = 0; i < fThreadCount; ++i) fvThreads.emplace_back([this] { Work(); });
  } catch (const std::system_error&) {
    // Those that did start do the work of the others.
  } catch (const std::bad_alloc&) {
  }
  if (!fvThreads.empty()) return;
  for (const std::unique_ptr<CallBackObject>& job : fJobs) Run(*job);
  fJobs.clear();
}

void sfThreadPoolBase::invoke(CallBackObject* job, void* /*data*/, int /*scope*/) {
  std::unique_ptr<CallBackObject> owned(job);
  if (owned != nullptr && !Queue(&owned)) Run(*owned);
}

// False, with the job left to the caller, where no thread would come for it.
bool sfThreadPoolBase::Queue(std::unique_ptr<CallBackObject>* job) {
  if (fbStarted && fvThreads.empty()) return false;
  const std::lock_guard guard(fMutex);
  try {
    fJobs.emplace_back();
  } catch (const std::bad_alloc&) {
    return false;
  }
  fJobs.back() = std::move(*job);
  fChanged.notify_one();
  return true;
}

void sfThreadPoolBase::Work() {
  while (const std::unique_ptr<CallBackObject> job = NextJob()) Run(*job);
}

// Null once the pool closes and nothing is left to do.
std::unique_ptr<CallBackObject> sfThreadPoolBase::NextJob() {
  std::unique_lock guard(fMutex);
  fChanged.wait(guard, [this] { return fbClosing || !fJobs.empty(); });
  if (fJobs.empty()) return nullptr;
  std::unique_ptr<CallBackObject> job = std::move(fJobs.front());
  fJobs.pop_front();
  return job;
}
