#include <algorithm>
#include <iostream>

#include "cli/PreviewLine.h"
#include "cli/Subcommands.h"
#include "cli/Terminal.h"
#include "host/output/OutputDocument.h"
#include "host/render/TextRenderer.h"
#include "session/Inspect.h"
#include "session/PreviewPlan.h"

// `svselect preview`: what a run by a plan would do to a frame.

namespace {

void TellAll(const std::vector<std::string>& problems) {
  for (const std::string& problem : problems) TellProblem(problem);
}

}  // namespace

// The tables come first, then what there is to say about them.
int TellPreview(const PreviewOptions& options) {
  HostSession session(options.settings);
  const PlanReading reading = ReadPlan(session, options.plan);
  if (reading.status != RunStatus::kOk) {
    TellAll(reading.remarks);
    RenderMessages(session.Layer<OutputDocument>(), std::cerr);
    TellAll(reading.problems);
    return kExitError;
  }
  CatchInterrupts();
  PreviewRequest request = {.frame = options.frame, .includeUserMissing = options.includeUserMissing};
  request.reports = options.reports;
  ReadSurveyCost(options.cost, &request.cost);
  const PlanPreview preview = PreviewPlan(session, reading.plan, request);
  if (preview.status == RunStatus::kCancelled) {
    TellProblem("interrupted");
    return kExitInterrupted;
  }
  if (options.json) {
    WritePreviewJson(session, preview, std::cout);
  } else {
    WritePreviewTables(preview, TerminalWidth(1), std::cout);
  }
  const bool isTold = FinishOutput();
  RenderMessages(session.Layer<OutputDocument>(), std::cerr);
  TellAll(preview.remarks);
  TellAll(preview.problems);
  return preview.status == RunStatus::kOk && isTold ? kExitOk : kExitError;
}
