#include "backend/svcommon/SVPlanSpecs.h"

#include <algorithm>
#include <tuple>

#include "backend/svcommon/PlanAsText.h"
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

namespace {

// A bound that isn't positive isn't one.
double BoundOf(double bound) {
  return std::max(bound, 0.0);
}

bool HasSameTable(const VarCatList& one, const VarCatList& other) {
  std::vector<KorvVarName> names[2];
  std::vector<VarCatList::CatList> keys[2];
  std::vector<double> values[2];
  one.copyVarList(names[0]);
  other.copyVarList(names[1]);
  one.copyMapKeyVal(keys[0], values[0]);
  other.copyMapKeyVal(keys[1], values[1]);
  return names[0] == names[1] && keys[0] == keys[1] && values[0] == values[1];
}

auto PartsOf(const SVPlanStageSpecs& s) {
  return std::tuple(s.label, s.strataVariables, s.clusterVariables, s.type, s.paramKind, s.paramSource,
                    s.paramValue, s.paramVariable, BoundOf(s.minSize), BoundOf(s.maxSize), s.inclProbName,
                    s.cumWeightName, s.indexName, s.popSizeName, s.sampSizeName, s.rateName, s.weightName,
                    s.certainty, s.certainName, s.order, s.isSerpentine);
}

auto PartsOf(const SVPlanSpecs& p) {
  return std::tuple(p.mode, p.title, p.weight, p.previousWeight, p.estimation, p.mosVariable, p.mosFromData,
                    BoundOf(p.mosMin), BoundOf(p.mosMax));
}

}  // namespace

bool SaysTheSame(const SVPlanSpecs& one, const SVPlanSpecs& other) {
  return PartsOf(one) == PartsOf(other) &&
         std::equal(one.stages.begin(), one.stages.end(), other.stages.begin(), other.stages.end(),
                    [](const SVPlanStageSpecs& a, const SVPlanStageSpecs& b) {
                      return PartsOf(a) == PartsOf(b) && HasSameTable(a.paramMatrix, b.paramMatrix);
                    });
}
