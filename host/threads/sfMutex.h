#pragma once

#include <mutex>

// A mutual exclusion lock. Not recursive: a thread that holds it doesn't lock it again.
class sfMutex {
public:
  // The only type of lock there is; null and 0 are all that the other arguments can be.
  static constexpr int kExclusive = 1;

  void lock(int type, void* owner, int timeout);
  void unlock(void* owner, int timeout);

private:
  std::mutex fMutex;
};
