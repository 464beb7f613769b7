#pragma once

#include <cstdint>

#include "host/threads/CallBackObject.h"

class SVSelectSamples;
class sfCompleteTask;

// The job of one thread: its range of a stratum's joint probabilities. Belongs to the pool that runs it; the
// engine and the task outlive it.
class SVSCallBackJointProb : public CallBackObject {
public:
  SVSCallBackJointProb(SVSelectSamples* selectSamples, std::int32_t threadInd, sfCompleteTask* completeTask)
      : fpSelectSamples(selectSamples), fThreadInd(threadInd), fpCompleteTask(completeTask) {}

  // Tells the task that it is done, whatever happens in the engine. The result is 0.
  int callBack() override;

private:
  SVSelectSamples* fpSelectSamples;  // borrowed
  std::int32_t fThreadInd;           // 0-based position in the engine's ranges
  sfCompleteTask* fpCompleteTask;    // borrowed
};
