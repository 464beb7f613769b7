#pragma once

#include <atomic>

// Stop requests, from a signal to the loops of a run.
//
// A signal handler calls RequestStop(), which sets one process-wide flag. Nothing is interrupted: the loops
// poll the flag, the run ends like a run with an error, and its files are discarded. The procedure polls
// through MCStopProcessor, which the tests override; the host's own loops call StopRequested() directly.

class MCStopProcessor {
public:
  // The argument is always 0.0 and has no effect.
  explicit MCStopProcessor(double) {}
  virtual ~MCStopProcessor();

  // Both return true when the run must stop. Stopped() is for the run's own thread, Tick() also for worker
  // threads. In this host they do the same.
  virtual bool Stopped();
  virtual bool Tick();
};

// Don't access directly: use the functions below. It is declared here so that StopRequested() can be inline;
// the case iterator calls it once per case.
extern std::atomic<bool> gStopRequested;

// Async-signal-safe: stores to a lock-free atomic and does nothing else.
void RequestStop() noexcept;
inline bool StopRequested() noexcept {
  return gStopRequested.load(std::memory_order_relaxed);
}
// Called when a session starts, so that a request made during the previous session doesn't stop the new one.
void ClearStopRequest() noexcept;
