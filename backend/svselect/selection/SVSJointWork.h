#pragma once

#include <cstddef>
#include <functional>

// SVSJointWork is the computation of one stratum's joint probabilities, cut into ranges of work items.
//
// Every range run once, in any order, one after the other or at the same time, gives the same matrix to the
// last bit. No range waits for one that hasn't started, so any number of threads will do.
class SVSJointWork {
public:
  // Whether the computation is to stop. Asked on the thread that runs a range; true leaves the matrix
  // unfinished.
  using Stop = std::function<bool()>;

  // A range of work items, 0-based, the end excluded.
  struct Range {
    std::size_t begin;
    std::size_t end;
  };

  virtual ~SVSJointWork() = default;

  // False when it was stopped. Throws std::bad_alloc where there is no memory.
  virtual bool Run(std::size_t range, const Stop& stop) = 0;

  // Whether several threads may run ranges. `stop` must then change nothing when it is asked.
  virtual bool RunsOnThreads() const { return false; }
};
