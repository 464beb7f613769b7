#pragma once

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

// The request that all stop processors of the process answer from. Safe to call from a signal handler.
void RequestStop() noexcept;
bool StopRequested() noexcept;
// A new session starts without a request.
void ClearStopRequest() noexcept;
