#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class CallBackObject;

// A fixed number of threads that take jobs from one queue, first in, first out.
//
// Use:        construct, init(), invoke() each job, destroy. Jobs may also be invoked before init().
// Ownership:  owns a job from invoke() on, and deletes it after its callback on the thread that ran it.
// Threads:    call init(), invoke() and the destructor from one thread. Callbacks run on the pool's threads.
// Failures:   none are reported. A job that throws counts as finished. When the system grants no thread, or
//             no memory for the queue, the job runs on the caller's thread instead: slower, but it runs.
class sfThreadPoolBase {
public:
  // Runs the jobs that are still queued, provided that init() was called, then joins the threads. Jobs of a
  // pool that was never started are deleted without running.
  virtual ~sfThreadPoolBase();
  sfThreadPoolBase(const sfThreadPoolBase&) = delete;
  sfThreadPoolBase& operator=(const sfThreadPoolBase&) = delete;

  // Starts the threads and the jobs that were invoked earlier. A second call has no effect.
  void init();

  static constexpr int kProcessScope = 1;  // the only `scope`
  // Takes over `job`; null is ignored. `data` is always null; `data` and `scope` have no effect.
  void invoke(CallBackObject* job, void* data, int scope);

protected:
  explicit sfThreadPoolBase(int threadCount);

private:
  bool Queue(std::unique_ptr<CallBackObject>* job);
  void Work();
  std::unique_ptr<CallBackObject> NextJob();

  int fThreadCount;
  std::vector<std::thread> fvThreads;
  bool fbStarted = false;

  std::mutex fMutex;  // guards the members below
  std::condition_variable fChanged;
  std::deque<std::unique_ptr<CallBackObject>> fJobs;
  bool fbClosing = false;
};

// The pool that procedures construct. The options are always 0.
class sfThreadPool : public sfThreadPoolBase {
public:
  sfThreadPool(int threadCount, int /*options*/) : sfThreadPoolBase(threadCount) {}
};
