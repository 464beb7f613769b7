#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

// How far the session has come with the cases of its frame. The walk over them tells it once a block; any
// thread may ask meanwhile. A session layer.
class CaseProgress {
public:
  using Clock = std::chrono::steady_clock;

  struct State {
    int pass = 0;  // from 1; 0 before the first
    bool isLast = false;
    std::int64_t cases = 0;  // that the pass has given
    Clock::time_point begin;
  };

  void StartPass() {
    fCases.store(0, std::memory_order_relaxed);
    fBegin.store(Clock::now().time_since_epoch().count(), std::memory_order_relaxed);
    fPass.fetch_add(1, std::memory_order_release);
  }
  void SetLastPass() { fbLast.store(true, std::memory_order_relaxed); }
  void SetCases(std::int64_t cases) { fCases.store(cases, std::memory_order_relaxed); }

  // Of a pass that begins just now it may show the pass before.
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
