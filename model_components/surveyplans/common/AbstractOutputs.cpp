#include "model_components/surveyplans/common/AbstractOutputs.h"

// The destructors are defined here, once, so that the virtual tables have one home in the library.
namespace MCSV {
SVSOutJointProbs::~SVSOutJointProbs() = default;
SVSOutputSummary::~SVSOutputSummary() = default;
}  // namespace MCSV
