#include "host/threads/sfMutex.h"

void sfMutex::lock(int /*type*/, void* /*owner*/, int /*timeout*/) {
  fMutex.lock();
}

void sfMutex::unlock(void* /*owner*/, int /*timeout*/) {
  fMutex.unlock();
}
