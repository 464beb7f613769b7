#include "host/environment/MCStopProcessor.h"

// Relaxed order is enough: the flag publishes no other data, and a loop that sees it one case later is fine.
std::atomic<bool> gStopRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");

MCStopProcessor::~MCStopProcessor() = default;
bool MCStopProcessor::Stopped() {
  return StopRequested();
}
bool MCStopProcessor::Tick() {
  return StopRequested();
}

void RequestStop() noexcept {
  gStopRequested.store(true, std::memory_order_relaxed);
}
void ClearStopRequest() noexcept {
  gStopRequested.store(false, std::memory_order_relaxed);
}
