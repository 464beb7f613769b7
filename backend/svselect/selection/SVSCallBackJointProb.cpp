#include "backend/svselect/selection/SVSCallBackJointProb.h"

#include "backend/svselect/selection/SVSelectSamples.h"
#include "host/threads/sfLocks.h"

int SVSCallBackJointProb::callBack() {
  fpSelectSamples->JointProbsRange(fThreadInd);
  return fpCompleteTask->callBack();
}
