#include "session/Inspect.h"

#include <fmt/format.h>

#include <set>

#include "backend/svcommon/PlanGaps.h"
#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/PlanSource.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/engine/ActiveFile.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/ReadableFile.h"
#include "host/output/OutputDocument.h"
#include "host/text/NearestWord.h"
#include "host/text/VariableNames.h"
#include "session/CommandText.h"
#include "session/FileClaims.h"
#include "session/GuardInspection.h"
#include "session/ProcedureLibrary.h"
#include "session/RunReview.h"

namespace {

// The document collects messages from its first use on.
void OpenDocument(HostSession& session) {
  session.Layer<OutputDocument>().SetProcedure("SVSelect");
}

// Fills `reading`. The messages about an invalid plan are the procedure's own; the place of the fault is
// added. Errors: DataError if the file can't be read at all.
void ReadPlanFile(const std::string& path, PlanReading* reading) {
  CheckReadableFile(path);
  const std::unique_ptr<PlanSource> source = OpenPlan(path, &reading->plan);
  PlanSource& reader = *source;
  const int code = reader.readSamplePlan(path);
  reading->remarks = reader.MisreadNumbers();
  const std::vector<std::string> contradictions = reader.Contradictions();
  reading->remarks.insert(reading->remarks.end(), contradictions.begin(), contradictions.end());
  if (code == 0) {
    reading->isRead = true;
    for (const std::string& gap : PlanGaps(reading->plan)) {
      reading->problems.push_back(fmt::format("{}: nothing can be drawn: {}", path, gap));
    }
    if (reading->problems.empty()) reading->status = RunStatus::kOk;
    return;
  }
  SV_XML::PlanReadErrors().report(code);
  reading->problems = reader.Faults();
}

// Variables of the plan that the frame lacks. Their places in the plan, which is read once more for these, become
// remarks.
std::vector<KorvVarName> MissingVariables(HostSession& session, const SVPlanSpecs& plan,
                                          const Dictionary& dictionary) {
  std::vector<KorvVarName> missing;
  for (const KorvVarName& name : FrameVariablesOf(plan)) {
    if (dictionary.Find(name.Text()) < 0) missing.push_back(name);
  }
  if (missing.empty()) return missing;
  SVPlanSpecs again;
  const std::unique_ptr<PlanSource> source = OpenPlan(plan.file, &again);
  if (source->readSamplePlan(plan.file) != 0) return missing;
  for (const KorvVarName& name : missing) {
    const std::string hint = NearestNameHint(name.Text(), dictionary.Names());
    session.Layer<OutputDocument>().AddRemark(source->LineAboutName(
        name, QuotedWord(name.Text()) + " isn't in the frame; names ignore case" + hint));
  }
  return missing;
}

// Checks what only the procedure can check. REQUIRES: the frame is open.
void CheckByProcedure(HostSession& session, const CommandParts& command, PlanCheck* check) {
  session.Layer<SessionCommand>().SetCommand(CommandText(command), "Command");
  if (const std::string failure = RunProcedure(); !failure.empty()) check->problems.push_back(failure);
}

}  // namespace

std::vector<KorvVarName> FrameVariablesOf(const SVPlanSpecs& plan) {
  std::vector<KorvVarName> names;
  std::set<std::string> added;
  const auto add = [&](const KorvVarName& name) {
    if (!name.IsEmpty() && added.insert(GetUpperVarName(name.Text())).second) names.push_back(name);
  };
  add(plan.previousWeight);
  add(plan.mosVariable);
  for (const SVPlanStageSpecs& stage : plan.stages) {
    for (const KorvVarName& name : stage.strataVariables) add(name);
    for (const KorvVarName& name : stage.clusterVariables) add(name);
    add(stage.paramVariable);
    for (const SVPlanOrderKey& key : stage.order) add(key.variable);
    std::vector<KorvVarName> ofTable;
    stage.paramMatrix.copyVarList(ofTable);
    for (const KorvVarName& name : ofTable) add(name);
  }
  return names;
}

FrameDescription DescribeFrame(HostSession& session, const FrameOptions& frame, bool readsValues) {
  FrameDescription described;
  // The dictionary is set last: it says that everything was read.
  const auto describe = [&] {
    OpenDocument(session);
    if (!ClaimFrame(session, frame)) return;
    OpenFrame(session, frame);
    AddFrameRemark(session);
    ActiveFile& file = session.Layer<ActiveFile>();
    described.cases = file.Engine().CountCases();
    const std::vector<KORV_Variable>& variables = file.SharedDictionary()->variables;
    const bool summarizes = readsValues && variables.size() <= FrameDescription::kMostSummarized;
    for (std::size_t i = 0; summarizes && i < variables.size(); ++i)
      described.contents.push_back(file.Engine().Summarize(static_cast<int>(i), variables[i]));
    described.dictionary = file.SharedDictionary();
  };
  described.status = GuardInspection(describe, &described.problems);
  if (described.status == RunStatus::kOk && ErrorRaised()) described.status = RunStatus::kError;
  return described;
}

PlanReading ReadPlan(HostSession& session, const std::string& path) {
  PlanReading reading;
  const auto read = [&] {
    OpenDocument(session);
    ReadPlanFile(path, &reading);
  };
  const RunStatus guarded = GuardInspection(read, &reading.problems);
  if (guarded != RunStatus::kOk) reading.status = guarded;
  return reading;
}

PlanCheck CheckPlan(HostSession& session, const SVPlanSpecs& plan, const FrameOptions& frame) {
  CommandParts command;
  command.plan = plan.file;
  session.SetCheckOnly();
  return CheckPlanBy(session, plan, frame, command);
}

PlanCheck CheckPlanBy(HostSession& session, const SVPlanSpecs& plan, const FrameOptions& frame,
                      const CommandParts& command) {
  PlanCheck check;
  const auto lookUp = [&] {
    OpenDocument(session);
    OpenFrame(session, frame);
    AddFrameRemark(session);
    const Dictionary& dictionary = *session.Layer<ActiveFile>().SharedDictionary();
    for (const KorvVarName& name : MissingVariables(session, plan, dictionary))
      check.problems.push_back(session.Layer<ActiveFile>().Name() + " has no variable " + name.Text());
    if (check.problems.empty()) CheckByProcedure(session, command, &check);
  };
  check.status = GuardInspection(lookUp, &check.problems);
  check.remarks = session.Layer<OutputDocument>().Remarks();
  const bool isFaulty = !check.problems.empty() || ErrorRaised();
  if (check.status == RunStatus::kOk && isFaulty) check.status = RunStatus::kError;
  return check;
}
