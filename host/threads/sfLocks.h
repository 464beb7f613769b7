#pragma once

#include <condition_variable>
#include <mutex>

#include "host/threads/CallBackObject.h"

// The host's lock and barrier. Both have wider signatures than they need; the unused arguments are part of
// the interface that the procedure is written against.

// A mutual exclusion lock, not recursive: a thread that locks it twice deadlocks.
class sfMutex {
public:
  static constexpr int kExclusive = 1;  // the only `type`

  // `owner` is always null and `timeout` always 0; all three arguments are ignored. Waits without limit.
  void lock(int type, void* owner, int timeout);
  void unlock(void* owner, int timeout);

private:
  std::mutex fMutex;
};

// A barrier: jobs count their completions, one thread waits for the last.
//
// Use:        construct with the number of jobs; each job calls callBack() as its last act; call waitAll().
// Threads:    all methods from any thread.
// Lifetime:   must outlive the jobs, so declare it before the pool: the pool's destructor joins the threads.
class sfCompleteTask : public CallBackObject {
public:
  // With a count of 0 or less, waitAll() returns at once.
  explicit sfCompleteTask(int count);

  // Counts one completion. Calls beyond the count have no effect.
  int callBack() override;

  // Blocks until callBack() has been called `count` times.
  void waitAll();

private:
  std::mutex fMutex;
  std::condition_variable fChanged;
  int fOpen;  // completions still missing
};
