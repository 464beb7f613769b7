#pragma once

class MCStopProcessor;

// SVCancelInfo is the computation's view of the host's stop request.
//
// Ownership: borrows the stop processor, which may be null: then only Cancel() cancels.
// Threads:   IsCancelled() and Cancel() belong to the thread of the run. Tick() changes nothing here and may
//            be called on any thread while that thread waits.
class SVCancelInfo {
public:
  explicit SVCancelInfo(MCStopProcessor* stopProcessor) : fpStopProcessor(stopProcessor) {}
  virtual ~SVCancelInfo();

  // Whether the run is to end. The first yes stays: the stop processor isn't asked again.
  bool IsCancelled();

  // The same without keeping the answer.
  virtual bool Tick();

  void Cancel() { fbCancelled = true; }

private:
  MCStopProcessor* fpStopProcessor;  // borrowed, may be null
  bool fbCancelled = false;
};
