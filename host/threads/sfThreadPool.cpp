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
    // An exception that leaves a thread's function ends the process. The job is taken as finished: only it
    // knows whom to report a failure to.
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
    // The system's limit on threads. The threads that did start do all the work.
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

// Queues the job. Returns false, leaving the job with the caller, when no thread would ever pick it up.
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

// Waits for the next job. Returns null once the pool is closing and the queue is empty.
std::unique_ptr<CallBackObject> sfThreadPoolBase::NextJob() {
  std::unique_lock guard(fMutex);
  fChanged.wait(guard, [this] { return fbClosing || !fJobs.empty(); });
  if (fJobs.empty()) return nullptr;
  std::unique_ptr<CallBackObject> job = std::move(fJobs.front());
  fJobs.pop_front();
  return job;
}
