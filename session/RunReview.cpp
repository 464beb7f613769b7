#include "session/RunReview.h"

#include <algorithm>

#include "host/engine/ActiveFile.h"
#include "host/engine/CaseProgress.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/SessionFiles.h"
#include "session/CommandedPlan.h"
#include "session/RunSurvey.h"

// How a run went, by what it left in the session:
//
//   passes over the cases   error raised   files finished    the run
//   none                    yes            no                was refused: command, plan or frame is wrong
//   none                    no             no                ended without a message: see WhyNothingDrawn()
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

// The procedure leaves some faults of plan and cases without a message.
const char* WhyNothingDrawn(HostSession& session) {
  return HasReadCases(session)
             ? "nothing was drawn: a case has a size that isn't a whole number up to 2147483647, or a rate "
               "that isn't above 0"
             : "nothing was drawn: the plan names no final weight, or its design can't be run (a stage "
               "without size, rate or clusters, or stages out of order)";
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

// A saved frame keeps the sample as well, in the variables that the run added.
bool KeepsSample(HostSession& session) {
  const std::vector<const OutputFile*> files = session.Layer<SessionFiles>().FinishedFiles();
  return std::any_of(files.begin(), files.end(), [](const OutputFile* file) {
    return file->role == FileRole::kSample || file->role == FileRole::kSaved;
  });
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
// that file isn't missed.
Lines MissingFiles(HostSession& session) {
  Lines missing;
  for (const PathClaims::Output& output : session.Layer<SessionFiles>().MissingFiles()) {
    if (output.role != FileRole::kJoint || NamesJointFile()) missing.push_back(output.path);
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
  if (ErrorRaised()) return remarks;
  if (status == RunStatus::kError && HasDrawn(session)) AddLostFiles(session, &remarks);
  if (status == RunStatus::kError && !HasDrawn(session)) remarks.emplace_back(WhyNothingDrawn(session));
  if (status == RunStatus::kOk && request.save.empty() && !KeepsSample(session)) {
    remarks.emplace_back("the draw isn't kept: name a file with --sample (SAMPLEFILE) or --save");
  }
  return remarks;
}

SampleReview ReviewSample(HostSession& session, bool wantsWeights) {
  SampleReview review;
  const std::optional<CommandedPlan> commanded = ReadCommandedPlan();
  if (!commanded) throw DataError("the plan can't be read a second time");
  review.remarks = commanded->misreadNumbers;
  const bool isExact = session.Settings().exactDesign;
  const std::string advice = isExact ? "" : ExactDesignAdvice(*commanded, session.Layer<ActiveFile>());
  if (!advice.empty()) review.remarks.push_back(advice);
  if (wantsWeights) review.weights = ReadFinalWeights(session, commanded->plan.weight.Text());
  return review;
}
