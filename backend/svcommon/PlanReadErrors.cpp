#include "backend/svcommon/PlanReadErrors.h"

#include <cstddef>
#include <iterator>
#include <string>

#include "host/environment/HostErrors.h"
#include "host/output/BpComposite.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"

namespace SV_XML {

namespace {

// The text of code k is entry k - 1. The wordings are fixed, dots included; the one of code 23 is of no help
// to the user, and the guide explains it.
constexpr const char* kTexts[] = {
    "Invalid plan file...",
    "Variable is not a valid KORV variable...",
    "Variable is repeated more than once...",
    "Illegal estimation method for this stage...",
    "Population size value is incorrect...",
    "Inclusion probability value is incorrect...",
    "Cluster variables are required for non-final stages...",
    "Matrix variable is invalid...",
    "Matrix category list does not match the matrix variable list...",
    "The plan cannot have more than ^1 stages...",
    "AnalysisDesign is missing in plan file...",
    "Sample size values are not positive...",
    "Sample rate values are not positive...",
    "SampleDesign is missing in plan file...",
    "Illegal selection method at second or third stage...",
    "Sample size or rate is not specified...",
    "MOS missing when PPS selection method specified...",
    "MOS variable or source is not specified...",
    "Minimum MOS value is greater than maximum MOS value...",
    "Minimum or maximum MOS values are not positive...",
    "Cluster variable is missing in the last stage...",
    "Variable is repeated more than once in sample design...",
    "The parser cannot get plan file specifications...",
    "Illegal SRS estimator method...",
};
static_assert(std::size(kTexts) == kPlanIllegalSrsEstimator);

}  // namespace

void PlanReadErrors::report(int code) const {
  if (code < 1 || code > kPlanIllegalSrsEstimator) return;
  const char* const text = kTexts[static_cast<std::size_t>(code) - 1];
  if (code == kPlanTooManyStages) {
    BpComposite message(text, true);
    message.Add(BpString(std::to_string(kMaxPlanStages), true));
    message.Finish();
    BpError(message, kShowInMessage, kErrorLevel);
    return;
  }
  BpError(BpString(text, true), kShowInMessage, kErrorLevel);
}

}  // namespace SV_XML
