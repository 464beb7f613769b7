#pragma once

class MCStopProcessor;

// SVCancelInfo is the computation's view of the host's stop request. Long loops ask it now and then, so that
// a user who interrupts a run doesn't wait for the end of a draw.
//
// Ownership:  borrows the stop processor. It may be null; then only Cancel() cancels.
// Threads:    IsCancelled() and Cancel() belong to the thread of the run. Tick() changes nothing and may be
//             called on any thread while the thread of the run waits.
//
// Invariant:  once IsCancelled() has returned true it always does, even if the host's request is cleared.
class SVCancelInfo {
public:
  explicit SVCancelInfo(MCStopProcessor* stopProcessor) : fpStopProcessor(stopProcessor) {}
  virtual ~SVCancelInfo();

  // Whether the run should end. After the first yes the stop processor isn't asked again.
  bool IsCancelled();

  // The same, but the answer isn't kept.
  virtual bool Tick();

  void Cancel() { fbCancelled = true; }

private:
  MCStopProcessor* fpStopProcessor;  // borrowed, may be null
  bool fbCancelled = false;
};
