#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class CallBackObject;

// A fixed number of threads that do jobs in the order in which they were handed over.
//
// Ownership:  owns a job from invoke() on and destroys it after its callback, on the thread that ran it.
// Threads:    init(), invoke() and destruction belong to one thread; the callbacks run on the pool's threads.
// Failure:    a job that throws has ended; its thread goes on with the next one. Where the system grants no
//             thread, or no memory for the queue, the job runs inside invoke(): slower, but done.
class sfThreadPoolBase {
public:
  // Does what was handed over, if the pool was started, then waits for its threads.
  virtual ~sfThreadPoolBase();
  sfThreadPoolBase(const sfThreadPoolBase&) = delete;
  sfThreadPoolBase& operator=(const sfThreadPoolBase&) = delete;

  // Starts the threads. Jobs that were handed over before start now.
  void init();

  // The scope that is always passed: a job of this process.
  static constexpr int kProcessScope = 1;
  // Takes `job` over. A null job is no job.
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

  std::mutex fMutex;  // guards what follows
  std::condition_variable fChanged;
  std::deque<std::unique_ptr<CallBackObject>> fJobs;
  bool fbClosing = false;
};

// The pool that is at hand: `threadCount` threads; the options are always 0.
class sfThreadPool : public sfThreadPoolBase {
public:
  sfThreadPool(int threadCount, int /*options*/) : sfThreadPoolBase(threadCount) {}
};
