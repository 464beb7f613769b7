#pragma once

#include <condition_variable>
#include <mutex>

#include "host/threads/CallBackObject.h"

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

// A barrier: one side counts completions, the other waits for the last of them.
//
// Use:      construct with the number of jobs, let each job call callBack() as its last act, waitAll().
// Threads:  any operation from any thread. It must outlive the jobs: destroy the pool first.
class sfCompleteTask : public CallBackObject {
public:
  // A count of 0 or below is complete at once.
  explicit sfCompleteTask(int count);

  // One completion. Those beyond the count change nothing.
  int callBack() override;

  // Returns once there were as many completions as the count says.
  void waitAll();

private:
  std::mutex fMutex;
  std::condition_variable fChanged;
  int fOpen;  // completions still to come
};
