#pragma once

#include <atomic>

// The host's stop request. Each operation answers whether the run is to stop.
class MCStopProcessor {
public:
  // The argument is always 0.0.
  explicit MCStopProcessor(double) {}
  virtual ~MCStopProcessor();

  // Asked on the thread of the run.
  virtual bool Stopped();

  // Asked in long loops, also on worker threads.
  virtual bool Tick();
};

// The request that all stop processors of the process answer from; read through the operations below. It
// stands in the header because the walk over the cases asks at every one.
extern std::atomic<bool> gStopRequested;

// Safe to call from a signal handler.
void RequestStop() noexcept;
inline bool StopRequested() noexcept {
  return gStopRequested.load(std::memory_order_relaxed);
}
// A new session starts without a request.
void ClearStopRequest() noexcept;
