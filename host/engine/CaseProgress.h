#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

// CaseProgress is how far the session has come with the cases of its frame. A pass is one walk over all
// cases; a run makes one for each stage and one more to write the sample.
//
// Use:        a layer of HostSession. The walk reports each pass and each block; the progress line asks.
// Threads:    one thread reports; any may ask. The members are separate atomics, since a display may be
//             late by a block and must not slow the walk.
class CaseProgress {
public:
  using Clock = std::chrono::steady_clock;

  struct State {
    int pass = 0;            // from 1; 0 before the first
    bool isLast = false;     // the pass that writes the sample has begun
    std::int64_t cases = 0;  // of the pass so far
    Clock::time_point begin;
  };

  void StartPass() {
    fCases.store(0, std::memory_order_relaxed);
    fBegin.store(Clock::now().time_since_epoch().count(), std::memory_order_relaxed);
    fPass.fetch_add(1, std::memory_order_release);  // last: who sees the new pass sees its begin
  }
  void SetLastPass() { fbLast.store(true, std::memory_order_relaxed); }
  void SetCases(std::int64_t cases) { fCases.store(cases, std::memory_order_relaxed); }

  // At the moment when a pass begins, the answer may still be of the pass before.
  State Get() const {
    State state;
    state.pass = fPass.load(std::memory_order_acquire);
    state.isLast = fbLast.load(std::memory_order_relaxed);
    state.cases = fCases.load(std::memory_order_relaxed);
    state.begin = Clock::time_point(Clock::duration(fBegin.load(std::memory_order_relaxed)));
    return state;
  }

private:
  std::atomic<int> fPass = 0;
  std::atomic<bool> fbLast = false;
  std::atomic<std::int64_t> fCases = 0;
  std::atomic<Clock::rep> fBegin = 0;
};
