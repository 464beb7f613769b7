#include <iostream>

#include "backend/svcommon/PlanInWords.h"
#include "cli/Subcommands.h"
#include "cli/Terminal.h"
#include "host/output/OutputDocument.h"
#include "host/render/TextRenderer.h"
#include "session/Inspect.h"

namespace {

void TellAll(const std::vector<std::string>& problems) {
  for (const std::string& problem : problems) TellProblem(problem);
}

int CheckAgainstFrame(HostSession& session, const SVPlanSpecs& plan, const FrameOptions& frame) {
  CatchInterrupts();
  const PlanCheck check = CheckPlan(session, plan, frame);
  if (check.status == RunStatus::kCancelled) {
    TellProblem("interrupted");
    return kExitInterrupted;
  }
  RenderMessages(session.Layer<OutputDocument>(), std::cerr);
  TellAll(check.problems);
  return check.status == RunStatus::kOk ? kExitOk : kExitError;
}

}  // namespace

int TellPlan(const PlanOptions& options) {
  HostSession session;
  const PlanReading reading = ReadPlan(session, options.plan);
  TellAll(reading.remarks);
  if (reading.status != RunStatus::kOk) {
    RenderMessages(session.Layer<OutputDocument>(), std::cerr);
    TellAll(reading.problems);
    return kExitError;
  }
  for (const std::string& line : PlanInWords(reading.plan)) PrintFolded(line);
  if (!FinishOutput()) return kExitError;  // shown before the frame is read, which may take long
  return options.frame.path.empty() ? kExitOk : CheckAgainstFrame(session, reading.plan, options.frame);
}
