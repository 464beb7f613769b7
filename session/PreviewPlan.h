#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "backend/svcommon/SVPlanSpecs.h"
#include "host/output/RunOutcome.h"
#include "host/read/OpenFrame.h"
#include "report/PreviewTables.h"

class HostSession;
struct DesignPreview;

// What a run by a plan is going to do to a frame, before anything is drawn. As the functions of Inspect.h, these
// work in the current session and write to no terminal.

struct PreviewRequest {
  FrameOptions frame;
  bool includeUserMissing = false;  // as the run has it
  std::optional<SurveyCost> cost{};
  std::vector<std::string> reports{};  // REQUIRES: KindOfReport() knows each, and none is R code
};

struct PlanPreview {
  // kError if a run fails whatever it draws; messages and remarks say why. Whether it may fail, a remark says.
  RunStatus status = RunStatus::kError;
  std::vector<std::string> remarks;        // what a run would remark, and advice
  std::vector<std::string> problems;       // why the frame can't be read, or one for each missing variable
  const DesignPreview* preview = nullptr;  // in the session; with numbers if it is complete
  PreviewFigures figures;
};

// Reads the frame once and foresees the draw of all stages. Uses no random number, and writes nothing but the
// reports. How the run draws (exact design, strict) is in the settings of the session.
// REQUIRES: the plan was read with kOk; the session has opened no frame. Afterwards it can't be used to draw.
// Errors, cancel: as in Inspect.h.
PlanPreview PreviewPlan(HostSession& session, const SVPlanSpecs& plan, const PreviewRequest& request);

// The preview as tables for a terminal, and as JSON for programs. REQUIRES: it was made in that session.
void WritePreviewTables(const PlanPreview& preview, int width, std::ostream& out);
void WritePreviewJson(HostSession& session, const PlanPreview& preview, std::ostream& out);
