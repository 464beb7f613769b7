#include "host/threads/sfCompleteTask.h"

sfCompleteTask::sfCompleteTask(int count) : fOpen(count) {}

int sfCompleteTask::callBack() {
  const std::lock_guard guard(fMutex);
  if (fOpen > 0) --fOpen;
  // Still under the lock: the waiting side may destroy this object as soon as it can take the lock.
  fChanged.notify_all();
  return 0;
}

void sfCompleteTask::waitAll() {
  std::unique_lock guard(fMutex);
  fChanged.wait(guard, [this] { return fOpen <= 0; });
}
