#include "cli/PlanCommand.h"

#include <fmt/format.h>

#include <iostream>

#include "backend/svcommon/PlanInWords.h"
#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "backend/svcommon/SVPlanSpecs.h"
#include "cli/Terminal.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/ReadableFile.h"

namespace {

bool ReadPlan(const std::string& path, SVPlanSpecs* plan) {
  SV_XML::PlanXmlReader reader(plan);
  const int code = reader.readSamplePlan(path);
  for (const std::string& misread : reader.MisreadNumbers())
    TellProblem(fmt::format("{}: {}", path, misread));
  if (code == 0) return true;
  SV_XML::PlanReadErrors().report(code);
  TellMessages();
  if (const SV_XML::PlanPosition at = reader.FaultPosition(); at.line > 0) {
    TellProblem(fmt::format(
        "{}, line {}, column {}: not well-formed XML here, or not what the plan format has in the "
        "element that stands or ends here",
        path, at.line, at.column));
  } else if (code == SV_XML::kPlanInvalidFile) {
    TellProblem(path + ": an element lacks what the plan format has in it, or the plan is too large");
  }
  return false;
}

// The variables that the frame must hold, in the order of the plan: all but those that a run makes.
std::vector<KorvVarName> VariablesOf(const SVPlanSpecs& plan) {
  std::vector<KorvVarName> names;
  const auto add = [&](const KorvVarName& name) {
    if (!name.IsEmpty()) names.push_back(name);
  };
  add(plan.previousWeight);
  add(plan.mosVariable);
  for (const SVPlanStageSpecs& stage : plan.stages) {
    for (const KorvVarName& name : stage.strataVariables) add(name);
    for (const KorvVarName& name : stage.clusterVariables) add(name);
    add(stage.paramVariable);
    std::vector<KorvVarName> ofTable;
    stage.paramMatrix.copyVarList(ofTable);
    for (const KorvVarName& name : ofTable) add(name);
  }
  return names;
}

bool HasAllVariables(const SVPlanSpecs& plan, const std::string& frame) {
  bool hasAll = true;
  const Dictionary& dictionary = *ActiveFile::Current().SharedDictionary();
  for (const KorvVarName& name : VariablesOf(plan)) {
    if (dictionary.Find(name.Text()) >= 0) continue;
    TellProblem(frame + " has no variable " + name.Text());
    hasAll = false;
  }
  return hasAll;
}

}  // namespace

int TellPlan(const PlanOptions& options) {
  HostSession session;
  OpenDocument();
  try {
    CheckReadableFile(options.plan);
  } catch (const DataError& error) {
    TellProblem(error.what());
    return kExitError;
  }
  SVPlanSpecs plan;
  if (!ReadPlan(options.plan, &plan)) return kExitError;
  for (const std::string& line : PlanInWords(plan)) PrintFolded(line);
  if (!FinishOutput()) return kExitError;
  if (options.frame.path.empty()) return kExitOk;
  CatchInterrupts();
  try {
    OpenFrame(HostSession::Current(), options.frame);
  } catch (const DataError& error) {
    if (StopRequested()) {
      TellInterrupted();
      return kExitInterrupted;
    }
    TellProblem(error.what());
    return kExitError;
  }
  TellMessages();
  return HasAllVariables(plan, options.frame.path) ? kExitOk : kExitError;
}
