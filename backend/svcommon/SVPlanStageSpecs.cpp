#include "backend/svcommon/SVPlanStageSpecs.h"

SVPlanStageSpecs::SVPlanStageSpecs() {
  constexpr std::size_t kUsualVariables = 10;
  strataVariables.reserve(kUsualVariables);
  clusterVariables.reserve(kUsualVariables);
}
