#include <fmt/format.h>

#include "backend/svcommon/PlanSource.h"
#include "backend/svcommon/SVPlanSpecs.h"
#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/command/SVSParser.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "host/files/SessionFiles.h"
#include "host/model/KORV_DataSource.h"
#include "host/output/BpProcedure.h"
#include "host/text/NearestWord.h"
#include "host/text/VariableNames.h"

// The plan: its names are looked up in the dictionary, and each stage of the plan becomes a stage of the
// design.
//
// Three kinds of names occur. Strata and cluster variables must exist and may be numbers or strings. Other
// input (weights, rates, sizes, the measure of size) must exist and be numeric. Output variables need not
// exist; one that does is collected in existingOutputs and decided about at the end. A name of one kind may
// not be used again as another: variableNames holds the strata and cluster variables of the stages so far,
// which is why a name is refused only if the stage that uses it as a stratum came first.
//
// All stages are translated, including those that this run doesn't draw: an earlier run has drawn them, and
// their strata and clusters make the keys of the later stages. Outputs are requested only for drawn stages.

namespace {

// The name of a stage's output variable of a kind; empty if the plan doesn't ask for it.
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
    case kOutCertain:
      return stage.certainName;
    default:
      return stage.weightName;
  }
}

}  // namespace

// The message has the name, but not where the plan has it. A name that is empty has no place.
void SVSParser::RemarkOnName(const KorvVarName& name, const std::string& what) {
  if (!name.IsEmpty()) BpRemark(planReader->LineAboutName(name, QuotedWord(name.Text()) + " " + what));
}

void SVSParser::RemarkOnMissing(const KorvVarName& name) {
  std::vector<std::string> names;
  for (unsigned i = 0; i < dataSource->ColumnCount(); ++i)
    names.push_back(dataSource->GetVariable(static_cast<int>(i)).GetName());
  RemarkOnName(name, "isn't in the frame; names ignore case" + NearestNameHint(name.Text(), names));
}

// At most one for each output variable of each stage.
void SVSParser::RemarkOnOutputs() {
  for (const std::string& name : existingOutputs) {
    const std::string& ofFrame = dataSource->GetVariable(dataSource->FindVarIndex(name, 0)).GetName();
    RemarkOnName(name, "is in the frame already" +
                           (ofFrame == name ? "" : ", as " + QuotedWord(ofFrame) + "; names ignore case"));
  }
}

// The group moves to the next stage before the result of this one is tested: see the header.
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

// What concerns the plan as a whole. A plan without a final weight ends the run without any message; that
// looks like an oversight, and stays: the program then says that nothing was drawn, and why.
//
// The bounds of the measure of size are set even at 0, where they don't bound: the plan's 0 means none.
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

  // From here on messages belong to stage 1, though they are still about the plan as a whole.
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

// STAGES in the command must end within the plan; without it all stages are drawn. The message names the
// parameter of the command although it is shown under stage 1 of the plan.
bool SVSParser::CheckSelectStages() {
  if (seenStages > 0) {
    if (selectStages.back() <= stageCount) return true;
    messages.InvalidIntegerList("STAGES", "CRITERIA");
    BpRemark(fmt::format("the plan has {} {}, and stage {} was asked for", stageCount,
                         stageCount == 1 ? "stage" : "stages", selectStages.back()));
    return false;
  }
  selectStages.clear();
  for (int n = 1; n <= stageCount; ++n) selectStages.push_back(n);
  specs->SetSelectStages(&selectStages);
  return true;
}

// Whether there is a joint probability file depends on the method of the first stage alone. If it has joint
// probabilities, they are written, to a default file if need be, unless the outputs are kept in memory: then
// nobody would look for a file. Otherwise a file that the user named is
// ignored with a warning, and its name is withdrawn from the specifications.
bool SVSParser::CheckJointProbFile(const SVPlanStageSpecs& stage) {
  const SVMethod& method = MethodOfType(stage.type);
  if (seenJointProb == 0) {
    const bool isWanted =
        method.writesJointUnasked && !specs->CheckOnly() && !SessionFiles::Current().Claims().KeepsTables();
    return !isWanted || MakeDefaultJointProbFile();
  }
  if (!method.hasJointProbs) {
    jointProbFile.clear();
    specs->SetJointProbFile(jointProbFile, true);
    const auto isPpsWithout = [](const SVMethod& m) { return m.IsPps() && !m.hasJointProbs; };
    messages.SubcommandIgnored("JOINTPROB", "TYPE",
                               (MethodNames(isPpsWithout, "/", "/") + "/SIMPLE").c_str());
  }
  return true;
}

// The default file is beside the plan and has its name, with ".sav" in place of the extension. A dot in a
// folder's name isn't one of an extension.
bool SVSParser::MakeDefaultJointProbFile() {
  std::string name = planFile;
  const std::size_t end = name.find_last_of("./\\");
  if (end != std::string::npos && name[end] == '.') name.resize(end);
  name += ".sav";
  jointProbFile = name;
  specs->SetJointProbFile(name, true);
  // The user didn't write this name, so each way to fail has a message that names the file.
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

// Output variables that exist already need RENAMEVARS, by which the older ones are renamed when the new ones
// are made.
bool SVSParser::CheckExistingOutputs() {
  if (existingOutputs.empty()) return true;
  if (seenRenameVars == 0) {
    messages.OutputVariablesExist(existingOutputs);
    RemarkOnOutputs();
    return false;
  }
  messages.OutputVariablesRenamed();
  return true;
}

// A stage that couldn't be translated isn't kept: the specifications must not point to it.
bool SVSParser::AddStage(const SVPlanStageSpecs& stageSpecs) {
  auto stage = std::make_unique<DesignStage>(static_cast<std::int32_t>(currentStage));
  auto table = std::make_unique<MatrixTable>();
  if (!TranslateStage(stageSpecs, *stage, *table)) return false;
  // The specifications get null pointers for a stage without a table, not pointers to an empty one.
  const bool hasTable = table->map != nullptr;
  specs->AddDesignStage(stageSpecs.label, stage.get(), hasTable ? &table->indices : nullptr, table->map.get(),
                        hasTable ? &table->formats : nullptr);
  if (hasTable) specs->SetTableLine(stage->stageNumber(), LineAboutRow(1, ""));
  designStages.push_back(std::move(stage));
  matrixTables.push_back(std::move(table));
  return true;
}

// The order of the checks decides which message a stage with several faults gets.
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
  stage.setCertaintyShare(stageSpecs.certainty);
  if (!StandInForPreviousWeight(stageSpecs)) return false;

  const SVMethod& method = MethodOfType(stageSpecs.type);
  if (InSelectedRange()) {
    if (!RequestOutputs(stageSpecs, stage) || !TranslateOrder(stageSpecs, stage)) return false;
    // A unit that is drawn twice needs its cases twice, for which the active file has no place.
    if (method.withReplacement && seenSampleFile == 0 && !specs->CheckOnly()) {
      messages.SubcommandRequiredBy("SAMPLEFILE", "METHOD", MethodName(method).c_str());
      return false;
    }
  }
  // The estimator belongs to the plan, and is carried by the first stage.
  stage.setMethodType(method.code);
  if (currentStage == 1 && plan->estimation == kSamplingWr) stage.setEstimatorType(kEstimatorWr);
  if (!TranslateParameter(stageSpecs, stage)) return false;
  return stageSpecs.paramSource != kParamByVarCatList || ReadMatrix(stageSpecs, table);
}

// STAGES has no gaps, so its ends suffice.
bool SVSParser::InSelectedRange() const {
  return selectStages.front() <= currentStage && currentStage <= selectStages.back();
}

// The stage just before the first one of this run was drawn by an earlier run, which left its cumulative
// weight in the data. If the plan names no previous weight, that one is used. A stage without a cumulative
// weight fails here on its empty name, with a message that shows no name.
bool SVSParser::StandInForPreviousWeight(const SVPlanStageSpecs& stageSpecs) {
  if (currentStage != selectStages.front() - 1 || !plan->previousWeight.IsEmpty()) return true;
  currentParameter = "CUMWEIGHT";
  std::int32_t index = -1;
  if (stageSpecs.cumWeightName.IsEmpty()) {
    BpRemark(fmt::format(
        "stage {} has no {} in the plan, the weight that the draw of stage {} starts from: add it, and draw "
        "stage {} again",
        currentStage, plan->isJson ? "'cumulative_weight'" : "CumulativeWeight", currentStage + 1,
        currentStage));
  }
  if (!CheckVariable(stageSpecs.cumWeightName, index, false)) return false;
  specs->SetPreviousWeight(index);
  return true;
}

// Of a drawn stage: an earlier run may have dropped the variables of its own.
bool SVSParser::TranslateOrder(const SVPlanStageSpecs& stageSpecs, DesignStage& stage) {
  std::vector<DesignStage::OrderKey> keys;
  currentParameter = "ORDER";
  for (const SVPlanOrderKey& key : stageSpecs.order) {
    const std::int32_t index = FindVariable(key.variable.Text(), false);
    if (index < 0) RemarkOnMissing(key.variable);
    if (index < 0) return false;
    keys.push_back({index, key.isDescending, dataSource->GetVariable(index).GetType() > 0});
  }
  stage.setOrder(std::move(keys), stageSpecs.isSerpentine);
  return true;
}

// The rate or size. A table only sets the tag here: ReadMatrix() converts it. A stage of a sample plan gives
// either of the two; the first line of the body covers plans that give neither.
bool SVSParser::TranslateParameter(const SVPlanStageSpecs& stageSpecs, DesignStage& stage) {
  const bool isSize = stageSpecs.paramKind == kParamSize;
  if (!isSize && stageSpecs.paramKind != kParamRate) return stageSpecs.paramSource == kParamNotGiven;
  // Each setter also sets the stage's tag, by which the run knows where its rate or size comes from.
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

// In the order of OutputKind, which becomes the order of the variables in the sample.
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

// Stops after the first name that failed. That name is still looked up, so a repeated name that doesn't exist
// has two messages.
bool SVSParser::CheckDesignVariables(const std::vector<KorvVarName>& names,
                                     std::vector<std::int32_t>& indices) {
  indices.clear();
  std::set<std::string> inThisList;
  for (const KorvVarName& name : names) {
    const std::string upper = GetUpperVarName(name.Text());
    // Repeats are sought in this list only: a stratum of one stage may be a cluster of another here. The plan
    // reader has refused that already.
    const bool isNew = inThisList.insert(upper).second;
    if (!isNew) messages.VariableRepeated(name.Text().c_str(), currentParameter.c_str(), nullptr);
    variableNames.insert(upper);
    const std::int32_t index = FindVariable(name.Text(), false);
    if (index < 0) RemarkOnMissing(name);
    if (!isNew || index < 0) return false;
    indices.push_back(index);
  }
  return true;
}

// A numeric variable that isn't a stratum or cluster variable. An output that doesn't exist is fine, with
// index -1; an output with an impossible name was reported by FindVariable() and passes too: the error flag
// stops the run. "TABLE" is the message's word for strata and clusters.
bool SVSParser::CheckVariable(const KorvVarName& name, std::int32_t& index, bool isOutput) {
  if (variableNames.contains(GetUpperVarName(name.Text()))) {
    messages.VariableNotFor(name.Text().c_str(), currentParameter.c_str(), "TABLE");
    RemarkOnName(name, "is a stratum or cluster already; names ignore case");
    return false;
  }
  index = FindVariable(name.Text(), isOutput);
  if (index < 0 && !isOutput) RemarkOnMissing(name);
  if (index < 0) return isOutput;
  if (dataSource->GetVariable(index).GetType() > 0) {
    messages.VariableNotNumeric(name.Text().c_str(), currentParameter.c_str(), SubcommandForMessage());
    RemarkOnName(name, "is text in the frame, and must be numeric");
    return false;
  }
  return true;
}
