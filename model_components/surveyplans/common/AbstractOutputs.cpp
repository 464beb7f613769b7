#include "model_components/surveyplans/common/SVSOutJointProbs.h"
#include "model_components/surveyplans/common/SVSOutputSummary.h"

namespace MCSV {
SVSOutJointProbs::~SVSOutJointProbs() = default;
SVSOutputSummary::~SVSOutputSummary() = default;
}  // namespace MCSV
