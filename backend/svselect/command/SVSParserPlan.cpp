#include "backend/svcommon/SVPlanSpecs.h"
#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/command/SVSParser.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "host/model/KORV_DataSource.h"
#include "host/text/VariableNames.h"

// The second half of the parser: the plan's names meet the dictionary, and each stage of the plan becomes a
// stage of the design. All messages here belong to a group: the plan as a whole, or one of its stages.

namespace {

// The name of a stage's output variable of a kind; empty when the plan doesn't ask for it.
const KorvVarName& OutputNameOf(const SVPlanStageSpecs& stage, std::int32_t kind) {
  switch (kind) {
    case kOutInclProb:
      return stage.inclProbName;
    case kOutCumWeight:
      return stage.cumWeightName;
    case kOutIndex:
      return stage.indexName;
    case kOutPopSize:
      return stage.popSizeName;
    case kOutSampSize:
      return stage.sampSizeName;
    case kOutRate:
      return stage.rateName;
    default:
      return stage.weightName;
  }
}

}  // namespace

bool SVSParser::CheckPlan() {
  if (!CheckGlobalPlan()) return false;
  for (int n = 1; n <= stageCount; ++n) {
    const SVPlanStageSpecs* stage = plan->getStage(n);
    if (stage == nullptr) {
      messages.NoStageInformation();
      return false;
    }
    if (n == 1 && !CheckJointProbFile(*stage)) return false;
    const bool isGood = AddStage(*stage);
    ++currentStage;
    messages.SetGroup(static_cast<int>(currentStage));
    if (!isGood) return false;
  }
  return CheckExistingOutputs();
}

bool SVSParser::CheckGlobalPlan() {
  currentStage = 0;
  messages.SetGroup(0);
  if (plan->weight.IsEmpty()) return false;
  std::int32_t index = -1;
  currentParameter = "SAMPLEWEIGHT";
  if (!CheckVariable(plan->weight, index, true)) return false;
  if (index >= 0) existingOutputs.push_back(plan->weight.Text());
  specs->SetFinalWeight(plan->weight, index);

  if (!plan->previousWeight.IsEmpty()) {
    currentParameter = "PREVIOUSWEIGHT";
    if (!CheckVariable(plan->previousWeight, index, false)) return false;
    specs->SetPreviousWeight(index);
  }

  currentStage = 1;
  messages.SetGroup(1);
  stageCount = plan->numStages();
  if (stageCount == 0) {
    messages.NoStages();
    return false;
  }
  if (!CheckSelectStages()) return false;

  if (!plan->mosVariable.IsEmpty()) {
    currentParameter = "VARIABLE";
    if (!CheckVariable(plan->mosVariable, index, false)) return false;
    specs->SetMosVariable(index);
  }
  if (plan->mosFromData) specs->SetMosFromData(true);
  if (plan->mosMin >= 0) specs->SetMosMin(plan->mosMin);
  if (plan->mosMax >= 0) specs->SetMosMax(plan->mosMax);
  return true;
}

bool SVSParser::CheckSelectStages() {
  if (seenStages > 0) {
    if (selectStages.back() <= stageCount) return true;
    messages.InvalidIntegerList("STAGES", "CRITERIA");
    return false;
  }
  selectStages.clear();
  for (int n = 1; n <= stageCount; ++n) selectStages.push_back(n);
  specs->SetSelectStages(&selectStages);
  return true;
}

// The method of the first stage decides whether there is a joint probability file.
bool SVSParser::CheckJointProbFile(const SVPlanStageSpecs& stage) {
  const SVMethod& method = MethodOfType(stage.type);
  if (seenJointProb == 0) return !method.writesJointUnasked || MakeDefaultJointProbFile();
  if (!method.hasJointProbs) {
    jointProbFile.clear();
    specs->SetJointProbFile(jointProbFile, true);
    const auto isPpsWithout = [](const SVMethod& m) { return m.IsPps() && !m.hasJointProbs; };
    messages.SubcommandIgnored("JOINTPROB", "TYPE",
                               (MethodNames(isPpsWithout, "/", "/") + "/SIMPLE").c_str());
  }
  return true;
}

bool SVSParser::MakeDefaultJointProbFile() {
  std::string name = planFile;
  const std::size_t end = name.find_last_of("./\\");
  if (end != std::string::npos && name[end] == '.') name.resize(end);
  name += ".sav";
  jointProbFile = name;
  specs->SetJointProbFile(name, true);
  const UserCaseFileSpec& file = specs->JointProbFile();
  if (!file.IsValid()) {
    messages.InvalidFileName(name.c_str());
    return false;
  }
  if (file.IsInUse() || file.IsReadOnly()) {
    messages.DefaultJointProbFileAccess(name.c_str());
    return false;
  }
  return true;
}

bool SVSParser::CheckExistingOutputs() {
  if (existingOutputs.empty()) return true;
  if (seenRenameVars == 0) {
    messages.OutputVariablesExist(existingOutputs);
    return false;
  }
  messages.OutputVariablesRenamed();
  return true;
}

bool SVSParser::AddStage(const SVPlanStageSpecs& stageSpecs) {
  auto stage = std::make_unique<DesignStage>(static_cast<std::int32_t>(currentStage));
  auto table = std::make_unique<MatrixTable>();
  if (!TranslateStage(stageSpecs, *stage, *table)) return false;
  const bool hasTable = table->map != nullptr;
  specs->AddDesignStage(stageSpecs.label, stage.get(), hasTable ? &table->indices : nullptr, table->map.get(),
                        hasTable ? &table->formats : nullptr);
  designStages.push_back(std::move(stage));
  matrixTables.push_back(std::move(table));
  return true;
}

bool SVSParser::TranslateStage(const SVPlanStageSpecs& stageSpecs, DesignStage& stage, MatrixTable& table) {
  std::vector<std::int32_t> indices;
  if (!stageSpecs.strataVariables.empty()) {
    currentParameter = "STRATA";
    if (!CheckDesignVariables(stageSpecs.strataVariables, indices)) return false;
    stage.setStrata(indices);
  }
  if (!stageSpecs.clusterVariables.empty()) {
    currentParameter = "CLUSTER";
    if (!CheckDesignVariables(stageSpecs.clusterVariables, indices)) return false;
    stage.setClusters(indices);
  }
  if (stageSpecs.minSize > 0) stage.setRateMinSize(stageSpecs.minSize);
  if (stageSpecs.maxSize > 0) stage.setRateMaxSize(stageSpecs.maxSize);
  if (!StandInForPreviousWeight(stageSpecs)) return false;

  const SVMethod& method = MethodOfType(stageSpecs.type);
  if (InSelectedRange()) {
    if (!RequestOutputs(stageSpecs, stage)) return false;
    // A unit that is drawn more than once needs a file that can hold its case more than once.
    if (method.withReplacement && seenSampleFile == 0) {
      messages.SubcommandRequiredBy("SAMPLEFILE", "METHOD", MethodName(method).c_str());
      return false;
    }
  }
  stage.setMethodType(method.code);
  if (currentStage == 1 && plan->estimation == kSamplingWr) stage.setEstimatorType(kEstimatorWr);
  if (!TranslateParameter(stageSpecs, stage)) return false;
  return stageSpecs.paramSource != kParamByVarCatList || ReadMatrix(stageSpecs, table);
}

bool SVSParser::InSelectedRange() const {
  return selectStages.front() <= currentStage && currentStage <= selectStages.back();
}

// When an earlier run drew the stage right before the first one of this run, and the plan names no previous
// weight, that stage's cumulative weight in the data is the previous weight.
bool SVSParser::StandInForPreviousWeight(const SVPlanStageSpecs& stageSpecs) {
  if (currentStage != selectStages.front() - 1 || !plan->previousWeight.IsEmpty()) return true;
  currentParameter = "CUMWEIGHT";
  std::int32_t index = -1;
  if (!CheckVariable(stageSpecs.cumWeightName, index, false)) return false;
  specs->SetPreviousWeight(index);
  return true;
}

bool SVSParser::TranslateParameter(const SVPlanStageSpecs& stageSpecs, DesignStage& stage) {
  const bool isSize = stageSpecs.paramKind == kParamSize;
  if (!isSize && stageSpecs.paramKind != kParamRate) return stageSpecs.paramSource == kParamNotGiven;
  switch (stageSpecs.paramSource) {
    case kParamByValue:
      if (isSize) {
        stage.setSizeValue(stageSpecs.paramValue);
      } else {
        stage.setRateValue(stageSpecs.paramValue);
      }
      return true;
    case kParamByVarName: {
      currentParameter = isSize ? "SIZE" : "RATE";
      std::int32_t index = -1;
      if (!CheckVariable(stageSpecs.paramVariable, index, false)) return false;
      if (isSize) {
        stage.setSizeVariable(index);
      } else {
        stage.setRateVariable(index);
      }
      return true;
    }
    case kParamByVarCatList:
      stage.setInclusionType(isSize ? kSizeMatrix : kRateMatrix);
      return true;
    default:
      return true;
  }
}

bool SVSParser::RequestOutputs(const SVPlanStageSpecs& stageSpecs, DesignStage& stage) {
  for (std::int32_t kind = 0; kind < kOutputKinds; ++kind) {
    const KorvVarName& name = OutputNameOf(stageSpecs, kind);
    if (name.IsEmpty()) continue;
    currentParameter = OutputKindName(kind);
    std::int32_t index = -1;
    if (!CheckVariable(name, index, true)) return false;
    if (index >= 0) existingOutputs.push_back(name.Text());
    stage.requestOutput(kind, name.Text());
  }
  return true;
}

// Stops behind the first name that failed, which has been looked up all the same.
bool SVSParser::CheckDesignVariables(const std::vector<KorvVarName>& names,
                                     std::vector<std::int32_t>& indices) {
  indices.clear();
  std::set<std::string> inThisList;
  for (const KorvVarName& name : names) {
    const std::string upper = GetUpperVarName(name.Text());
    const bool isNew = inThisList.insert(upper).second;
    if (!isNew) messages.VariableRepeated(name.Text().c_str(), currentParameter.c_str(), nullptr);
    variableNames.insert(upper);
    const std::int32_t index = FindVariable(name.Text(), false);
    if (!isNew || index < 0) return false;
    indices.push_back(index);
  }
  return true;
}

bool SVSParser::CheckVariable(const KorvVarName& name, std::int32_t& index, bool isOutput) {
  if (variableNames.contains(GetUpperVarName(name.Text()))) {
    messages.VariableNotFor(name.Text().c_str(), currentParameter.c_str(), "TABLE");
    return false;
  }
  index = FindVariable(name.Text(), isOutput);
  if (index < 0) return isOutput;
  if (dataSource->GetVariable(index).GetType() > 0) {
    messages.VariableNotNumeric(name.Text().c_str(), currentParameter.c_str(), SubcommandForMessage());
    return false;
  }
  return true;
}
