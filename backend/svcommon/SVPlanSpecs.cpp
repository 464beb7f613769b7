#include "backend/svcommon/SVPlanSpecs.h"

#include "host/text/TextConversion.h"

namespace {

// Names are compared in upper case, also beyond ASCII, as the dictionary does.
KorvVarName UpperCase(const KorvVarName& name) {
  std::string text = name.Text();
  KORVMBstrupr_A(text);
  return text;
}

}  // namespace

SVPlanStageSpecs::SVPlanStageSpecs() {
  constexpr std::size_t kUsualVariables = 10;
  strataVariables.reserve(kUsualVariables);
  clusterVariables.reserve(kUsualVariables);
}

SVPlanSpecs::SVPlanSpecs() {
  constexpr std::size_t kUsualStages = 10;
  stages.reserve(kUsualStages);
}

SVPlanStageSpecs* SVPlanSpecs::getStage(int n) {
  return n >= 1 && n <= numStages() ? &stages[static_cast<std::size_t>(n) - 1] : nullptr;
}

const SVPlanStageSpecs* SVPlanSpecs::getStage(int n) const {
  return n >= 1 && n <= numStages() ? &stages[static_cast<std::size_t>(n) - 1] : nullptr;
}

bool SVPlanSpecs::addVariableName(const KorvVarName& name) {
  return allVariableNames.insert(UpperCase(name)).second;
}

bool SVPlanSpecs::addDesignVariableName(const KorvVarName& name) {
  return designVariableNames.insert(UpperCase(name)).second;
}

bool SVPlanSpecs::hasDesignVariableName(const KorvVarName& name) const {
  return designVariableNames.contains(UpperCase(name));
}

bool SVPlanSpecs::addStageVariableName(int stage, const KorvVarName& name) {
  SVPlanStageSpecs* const specs = getStage(stage);
  return specs != nullptr && specs->designVariableNames.insert(UpperCase(name)).second;
}

bool SVPlanSpecs::hasStageVariableName(int stage, const KorvVarName& name) const {
  const SVPlanStageSpecs* const specs = getStage(stage);
  return specs != nullptr && specs->designVariableNames.contains(UpperCase(name));
}
