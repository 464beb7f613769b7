#include "session/RunReview.h"

#include <algorithm>
#include <cctype>

#include "backend/svcommon/PlanGaps.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/engine/ActiveFile.h"
#include "host/engine/CaseProgress.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/ReadableFile.h"
#include "host/files/SessionFiles.h"
#include "host/output/OutputDocument.h"
#include "host/read/DataFile.h"
#include "host/text/NearestWord.h"
#include "host/text/VariableNames.h"
#include "session/CommandedPlan.h"
#include "session/RunSurvey.h"

// How a run went, by what it left in the session:
//
//   passes over the cases   error raised   files finished    the run
//   none                    yes            no                was refused: command, plan or frame is wrong
//   none                    no             no                ended without a message: AddWhyNothingDrawn()
//   some, not the last      yes            no                failed in the draw
//   some, not the last      no             no                likewise without a message
//   the last                yes            no                failed while it wrote
//   the last                no             yes               drew a sample
//
// A stop request can come at any time and counts more than all of this.

namespace {

using Lines = std::vector<std::string>;

// The procedure says only that a file of the command can't be used; the reason is kept with the claim.
void AddRefusals(HostSession& session, Lines* remarks) {
  for (const PathClaims::Refusal& refusal : session.Layer<SessionFiles>().Claims().Refusals()) {
    const bool isOfCommand = refusal.role == FileRole::kPlan || refusal.role == FileRole::kSample ||
                             refusal.role == FileRole::kJoint || refusal.role == FileRole::kRule;
    if (isOfCommand) remarks->push_back(refusal.path + ": " + refusal.why);
  }
}

// The procedure leaves some faults of plan and cases without a message. Cases may have been read although the
// plan can't be drawn, so the plan is looked at first.
void AddWhyNothingDrawn(HostSession& session, Lines* remarks) {
  const std::optional<CommandedPlan> commanded = ReadCommandedPlan();
  Lines reasons = commanded ? PlanGaps(commanded->plan) : Lines();
  if (reasons.empty()) {
    reasons.emplace_back(HasReadCases(session) ? kUnusableRequest : "the design of the plan can't be run");
  }
  for (const std::string& reason : reasons) remarks->push_back("nothing was drawn: " + reason);
}

// After a draw without an error message some files may still be missing, or all if the run was broken off.
void AddLostFiles(HostSession& session, Lines* remarks) {
  if (session.Layer<SessionFiles>().IsBroken()) {
    remarks->emplace_back("no file of the run was kept");
    return;
  }
  for (const std::string& missing : MissingFiles(session)) {
    remarks->push_back(missing + ": the file didn't come into being");
  }
}

// Whether a file has joint probabilities, of whatever plan.
bool IsJointFile(HostSession& session, const std::string& path) {
  try {
    return OpenDataFile(session, path).dictionary.Find("Joint_Prob_1_") >= 0;
  } catch (const DataError&) {
    return false;
  }
}

// The default file for the joint probabilities, beside the plan, may be the only copy of something else. Looked
// at before the commit.
void AddReplacedFile(HostSession& session, Lines* remarks) {
  for (const OutputFile* file : session.Layer<SessionFiles>().FinishedFiles()) {
    if (file->role != FileRole::kJoint || NamesJointFile() || !FileExists(file->target)) continue;
    if (IsJointFile(session, file->target)) continue;
    remarks->push_back(file->path +
                       ": the joint probabilities replaced another file, since no file was named for them; "
                       "name one with --joint (JOINTPROB)");
  }
}

// The notes name the default file for the joint probabilities also where a run has none.
void AddUnwrittenFile(HostSession& session, Lines* remarks) {
  for (const PathClaims::Output& output : session.Layer<SessionFiles>().MissingFiles()) {
    if (output.role != FileRole::kJoint || NamesJointFile()) continue;
    const std::optional<CommandedPlan> commanded = ReadCommandedPlan();
    const bool isReplaced = commanded && commanded->plan.estimation == kSamplingWr;
    remarks->push_back(output.path + ": no joint probabilities were written, since the " +
                       (isReplaced ? "plan estimates as with replacement" : "first stage wasn't drawn"));
  }
}

// A saved frame keeps the sample as well, in the variables that the run added.
bool KeepsSample(HostSession& session) {
  const std::vector<const OutputFile*> files = session.Layer<SessionFiles>().FinishedFiles();
  return std::any_of(files.begin(), files.end(), [](const OutputFile* file) {
    return file->role == FileRole::kSample || file->role == FileRole::kSaved;
  });
}

// A name that a plan can have, like one that it can't.
std::string LegalName(std::string name) {
  const auto isGood = [](char c) {
    return (c & 0x80) != 0 || std::isalnum(static_cast<unsigned char>(c)) != 0;
  };
  std::replace_if(
      name.begin(), name.end(), [&](char c) { return !isGood(c); }, '_');
  if (ValidateKORVName(name) != 0) name.insert(0, "v_");
  return ValidateKORVName(name) == 0 ? name : "new_name";
}

// A frame can have variables that neither a plan nor a word of a command can name. The message about such a
// name doesn't know that there is a variable of that name.
void AddUnnamedVariables(HostSession& session, Lines* remarks) {
  const ActiveFile& file = session.Layer<ActiveFile>();
  if (!file.IsOpen()) return;
  const Lines hints = HintsOnNames(*file.SharedDictionary(), *remarks);
  remarks->insert(remarks->end(), hints.begin(), hints.end());
  const std::vector<OutputMessage>& messages = session.Layer<OutputDocument>().Messages();
  for (const KORV_Variable& variable : file.SharedDictionary()->variables) {
    const std::string& name = variable.GetName();
    if (ValidateKORVName(name) == 0) continue;
    const std::string inCommand = "Variable name " + name + " for parameter";
    if (std::any_of(messages.begin(), messages.end(),
                    [&](const OutputMessage& message) { return message.text.starts_with(inCommand); }))
      remarks->push_back("the frame has a variable " + QuotedWord(name) +
                         "; in a command write the name in quotes");
  }
}

// The stages that were drawn. Strata lie within the units of the stages before.
std::vector<StageVariables> StagesOf(const CommandedPlan& commanded) {
  std::vector<StageVariables> stages;
  std::vector<std::string> before;
  const auto append = [](const std::vector<KorvVarName>& names, std::vector<std::string>* list) {
    for (const KorvVarName& name : names) list->push_back(name.Text());
  };
  for (int number = 1; number <= commanded.plan.numStages(); ++number) {
    const SVPlanStageSpecs& stage = *commanded.plan.getStage(number);
    StageVariables variables{.number = number, .label = stage.label, .strata = before};
    append(stage.strataVariables, &variables.strata);
    append(stage.clusterVariables, &variables.clusters);
    variables.probability = stage.inclProbName.Text();
    if (commanded.plan.isJson) variables.probabilityWord = "probability";
    variables.withReplacement = MethodOfType(stage.type).withReplacement;
    before = variables.strata;
    append(stage.clusterVariables, &before);
    if (std::count(commanded.stages.begin(), commanded.stages.end(), number) > 0)
      stages.push_back(std::move(variables));
  }
  return stages;
}

// Advice after an interruption, for a draw that might never have ended.
void AddEndlessDraw(HostSession& session, Lines* remarks) {
  const bool wasDrawing = HasReadCases(session) && !HasDrawn(session);
  if (!wasDrawing || session.Settings().exactDesign) return;
  const std::optional<CommandedPlan> commanded = ReadCommandedPlan();
  const std::string advice = commanded ? EndlessDrawAdvice(*commanded) : "";
  if (!advice.empty()) remarks->push_back(advice);
}

}  // namespace

Lines HintsOnNames(const Dictionary& dictionary, const Lines& told) {
  Lines hints;
  for (const KORV_Variable& variable : dictionary.variables) {
    const std::string& name = variable.GetName();
    const std::string refused = QuotedWord(name) + " is no valid name";
    const auto isAbout = [&](const std::string& line) { return line.find(refused) != line.npos; };
    if (ValidateKORVName(name) != 0 && std::any_of(told.begin(), told.end(), isAbout)) {
      hints.push_back("the frame has a variable " + QuotedWord(name) +
                      ", which no plan can name; rename it there, as in " + LegalName(name));
    }
  }
  return hints;
}

bool ErrorRaised() {
  return pvGetCmnGlb()->errorFlag != 0;
}

bool HasReadCases(HostSession& session) {
  return session.Layer<CaseProgress>().Get().pass > 0;
}

bool HasDrawn(HostSession& session) {
  return session.Layer<CaseProgress>().Get().isLast;
}

// The procedure claims the file for joint probabilities under its default name even when the design has none;
// that file isn't missed. Nor is a table that the design doesn't have: a caller can look whether it is there.
Lines MissingFiles(HostSession& session) {
  Lines missing;
  SessionFiles& files = session.Layer<SessionFiles>();
  for (const PathClaims::Output& output : files.MissingFiles()) {
    const bool isWanted = NamesJointFile() && !files.Claims().IsInMemory(output.path);
    if (output.role != FileRole::kJoint || isWanted) missing.push_back(output.path);
  }
  return missing;
}

Lines RemarksOnRun(HostSession& session, const RunRequest& request, RunStatus status) {
  Lines remarks;
  if (status == RunStatus::kCancelled) {
    AddEndlessDraw(session, &remarks);
    return remarks;
  }
  AddRefusals(session, &remarks);
  const Lines& ofProcedure = session.Layer<OutputDocument>().Remarks();
  remarks.insert(remarks.end(), ofProcedure.begin(), ofProcedure.end());
  AddUnnamedVariables(session, &remarks);
  if (ErrorRaised()) return remarks;
  if (status == RunStatus::kError && HasDrawn(session)) AddLostFiles(session, &remarks);
  if (status == RunStatus::kError && !HasDrawn(session)) AddWhyNothingDrawn(session, &remarks);
  if (status == RunStatus::kOk) AddReplacedFile(session, &remarks);
  if (status == RunStatus::kOk) AddUnwrittenFile(session, &remarks);
  if (status == RunStatus::kOk && request.save.empty() && !KeepsSample(session)) {
    remarks.emplace_back("the draw isn't kept: name a file with --sample (SAMPLEFILE) or --save");
  }
  return remarks;
}

std::optional<FinalWeights> ReviewWeights(HostSession& session) {
  const std::optional<CommandedPlan> commanded = ReadCommandedPlan();
  if (!commanded) throw DataError("the plan can't be read a second time");
  std::optional<FinalWeights> weights =
      ReadFinalWeights(session, commanded->plan.weight.Text(), StagesOf(*commanded));
  const std::optional<FrameCases>& cases = session.Layer<OutputDocument>().Cases();
  // Behind an earlier sampling the weights sum up to what that was drawn from, and so do those of later stages.
  const bool beginsAtFirst = !commanded->stages.empty() && commanded->stages.front() == 1;
  if (weights && cases && beginsAtFirst && commanded->plan.previousWeight.IsEmpty())
    weights->frameCases = cases->read - cases->leftOut;
  return weights;
}
