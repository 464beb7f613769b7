#include "host/threads/sfLocks.h"

void sfMutex::lock(int /*type*/, void* /*owner*/, int /*timeout*/) {
  fMutex.lock();
}

void sfMutex::unlock(void* /*owner*/, int /*timeout*/) {
  fMutex.unlock();
}

sfCompleteTask::sfCompleteTask(int count) : fOpen(count) {}

int sfCompleteTask::callBack() {
  const std::lock_guard guard(fMutex);
  if (fOpen > 0) --fOpen;
  // Notify while holding the lock: as soon as the waiting thread gets the lock, it may destroy this object.
  fChanged.notify_all();
  return 0;
}

void sfCompleteTask::waitAll() {
  std::unique_lock guard(fMutex);
  fChanged.wait(guard, [this] { return fOpen <= 0; });
}
