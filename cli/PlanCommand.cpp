#include <algorithm>
#include <iostream>

#include "backend/svcommon/PlanInWords.h"
#include "cli/Subcommands.h"
#include "cli/Terminal.h"
#include "host/output/OutputDocument.h"
#include "host/render/TextRenderer.h"
#include "session/ConvertPlan.h"
#include "session/Inspect.h"
#include "session/RunReview.h"

// `svselect plan`: reading the plan and checking it against a frame are two steps. The plan in words appears
// as soon as it is known, even if the frame turns out to be unreadable.

namespace {

void TellAll(const std::vector<std::string>& problems) {
  for (const std::string& problem : problems) TellProblem(problem);
}

// Interrupts are caught only here: reading a plan takes no time, and has nothing to clean up.
int CheckAgainstFrame(HostSession& session, const PlanReading& reading, const FrameOptions& frame) {
  CatchInterrupts();
  const PlanCheck check = CheckPlan(session, reading.plan, frame);
  if (check.status == RunStatus::kCancelled) {
    TellProblem("interrupted");
    return kExitInterrupted;
  }
  RenderMessages(session.Layer<OutputDocument>(), std::cerr);
  const std::vector<std::string>& told = reading.remarks;
  for (const std::string& remark : check.remarks) {
    if (std::find(told.begin(), told.end(), remark) == told.end()) TellProblem(remark);
  }
  TellAll(check.problems);
  if (check.status != RunStatus::kOk) return kExitError;
  PrintFolded("Nothing was found in " + frame.path + " that keeps this plan from being drawn.");
  return FinishOutput() ? kExitOk : kExitError;
}

// What a frame says about names that the plan can't have; nothing if it can't be read.
std::vector<std::string> NamesOfFrame(HostSession& session, const FrameOptions& frame,
                                      const std::vector<std::string>& problems) {
  const auto isOfName = [](const std::string& line) { return line.find(" is no valid name") != line.npos; };
  if (std::none_of(problems.begin(), problems.end(), isOfName)) return {};
  CatchInterrupts();
  const FrameDescription described = DescribeFrame(session, frame);
  if (described.dictionary == nullptr) return {};
  return HintsOnNames(*described.dictionary, problems);
}

}  // namespace

// Remarks are shown with a plan that can be used, too: the run would draw by what was read.
int TellPlan(const PlanOptions& options) {
  HostSession session;
  const PlanReading reading = ReadPlan(session, options.plan);
  TellAll(reading.remarks);
  if (!reading.isRead) RenderMessages(session.Layer<OutputDocument>(), std::cerr);
  if (reading.isRead && options.to.empty()) {
    for (const std::string& line : PlanInWords(reading.plan)) PrintFolded(line);
    if (!FinishOutput()) return kExitError;  // shown before the frame is read, which may take long
  }
  TellAll(reading.problems);
  if (reading.status != RunStatus::kOk) {
    if (!options.frame.path.empty()) TellAll(NamesOfFrame(session, options.frame, reading.problems));
    return kExitError;
  }
  if (!options.to.empty()) {
    const std::vector<std::string> problems = ConvertPlan(session, reading, options.to);
    if (!problems.empty()) RenderMessages(session.Layer<OutputDocument>(), std::cerr);
    TellAll(problems);
    return problems.empty() ? kExitOk : kExitError;
  }
  return options.frame.path.empty() ? kExitOk : CheckAgainstFrame(session, reading, options.frame);
}
