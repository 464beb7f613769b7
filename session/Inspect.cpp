#include "session/Inspect.h"

#include <fmt/format.h>

#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "host/engine/ActiveFile.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/ReadableFile.h"
#include "host/output/OutputDocument.h"
#include "session/FileClaims.h"
#include "session/ProcedureLibrary.h"
#include "session/RunReview.h"

namespace {

// Runs `work` and turns what it throws into a problem, unless a stop request was the cause.
template <class Work>
RunStatus Guard(const Work& work, std::vector<std::string>* problems) {
  try {
    work();
  } catch (...) {
    if (!StopRequested()) {
      problems->push_back(CaughtException());
      return RunStatus::kError;
    }
  }
  return StopRequested() ? RunStatus::kCancelled : RunStatus::kOk;
}

// The document collects messages from its first use on.
void OpenDocument(HostSession& session) {
  session.Layer<OutputDocument>().SetProcedure("SVSelect");
}

// Where the XML is at fault, in addition to the message that the plan can't be read.
void AddFaultyPlace(const SV_XML::PlanXmlReader& reader, int code, const std::string& path,
                    std::vector<std::string>* problems) {
  if (const SV_XML::PlanPosition at = reader.FaultPosition(); at.line > 0) {
    problems->push_back(fmt::format(
        "{}, line {}, column {}: not well-formed XML here, or not what the plan format has in the "
        "element that stands or ends here",
        path, at.line, at.column));
  } else if (code == SV_XML::kPlanInvalidFile) {
    problems->push_back(path + ": an element lacks what the plan format has in it, or the plan is too large");
  }
}

// Fills `reading`. The messages about an invalid plan are the procedure's own; the place of the fault is
// added. Errors: DataError if the file can't be read at all.
void ReadPlanFile(const std::string& path, PlanReading* reading) {
  CheckReadableFile(path);
  SV_XML::PlanXmlReader reader(&reading->plan);
  const int code = reader.readSamplePlan(path);
  for (const std::string& misread : reader.MisreadNumbers()) {
    reading->remarks.push_back(fmt::format("{}: {}", path, misread));
  }
  if (code == 0) {
    reading->status = RunStatus::kOk;
    return;
  }
  SV_XML::PlanReadErrors().report(code);
  AddFaultyPlace(reader, code, path, &reading->problems);
}

// The variables that a frame must have, in the order of the plan: all but those that a run adds.
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

}  // namespace

FrameDescription DescribeFrame(HostSession& session, const FrameOptions& frame, bool readsValues) {
  FrameDescription described;
  // The dictionary is set last: it says that everything was read.
  const auto describe = [&] {
    OpenDocument(session);
    if (!ClaimFrame(session, frame)) return;
    OpenFrame(session, frame);
    ActiveFile& file = session.Layer<ActiveFile>();
    described.cases = file.Engine().CountCases();
    const std::vector<KORV_Variable>& variables = file.SharedDictionary()->variables;
    for (std::size_t i = 0; readsValues && i < variables.size(); ++i)
      described.contents.push_back(file.Engine().Summarize(static_cast<int>(i), variables[i]));
    described.dictionary = file.SharedDictionary();
  };
  described.status = Guard(describe, &described.problems);
  if (described.status == RunStatus::kOk && ErrorRaised()) described.status = RunStatus::kError;
  return described;
}

PlanReading ReadPlan(HostSession& session, const std::string& path) {
  PlanReading reading;
  const auto read = [&] {
    OpenDocument(session);
    ReadPlanFile(path, &reading);
  };
  const RunStatus guarded = Guard(read, &reading.problems);
  if (guarded != RunStatus::kOk) reading.status = guarded;
  return reading;
}

PlanCheck CheckPlan(HostSession& session, const SVPlanSpecs& plan, const FrameOptions& frame) {
  PlanCheck check;
  const auto lookUp = [&] {
    OpenDocument(session);
    OpenFrame(session, frame);
    const Dictionary& dictionary = *session.Layer<ActiveFile>().SharedDictionary();
    for (const KorvVarName& name : VariablesOf(plan)) {
      if (dictionary.Find(name.Text()) < 0) {
        check.problems.push_back(frame.path + " has no variable " + name.Text());
      }
    }
  };
  check.status = Guard(lookUp, &check.problems);
  if (check.status == RunStatus::kOk && !check.problems.empty()) check.status = RunStatus::kError;
  return check;
}
