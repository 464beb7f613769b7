#include "backend/svcommon/PlanGaps.h"

#include <fmt/format.h>

#include "backend/svcommon/SVPlanSpecs.h"
#include "backend/svcommon/design/MethodTable.h"

std::vector<std::string> PlanGaps(const SVPlanSpecs& plan) {
  std::vector<std::string> gaps;
  if (plan.weight.IsEmpty())
    gaps.emplace_back(
        "the plan names no final weight; end its SampleDesign with a Weight that has a Variable");
  if (plan.stages.empty()) gaps.emplace_back("the plan has no SampleStage");
  for (int number = 1; number <= plan.numStages(); ++number) {
    const SVPlanStageSpecs& stage = *plan.getStage(number);
    const SVMethod& method = MethodOfType(stage.type);
    if (!method.twoUnits && stage.paramSource == kParamNotGiven) {
      gaps.push_back(
          fmt::format("stage {} has no size or rate: give it a SingleValue, a Variable or a Matrix", number));
    }
    if (stage.paramSource == kParamByVarCatList && stage.paramMatrix.getMapSize() == 0)
      gaps.push_back(fmt::format("stage {} has a Matrix without rows that count", number));
    if (method.IsPps() && !plan.mosFromData && plan.mosVariable.IsEmpty()) {
      gaps.push_back(fmt::format(
          "stage {} draws by size, and the fromData of its MOS is neither 'yes' nor 'no'", number));
    }
  }
  return gaps;
}
