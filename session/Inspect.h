#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "backend/svcommon/SVPlanSpecs.h"
#include "host/engine/CaseEngine.h"
#include "host/output/RunOutcome.h"
#include "host/read/OpenFrame.h"

struct Dictionary;
class HostSession;

// Looks at a frame or a plan without drawing. As RunSurvey(), these functions work in the current session,
// write to no terminal, and report through their results and the session's document. RequestStop() ends one
// that reads a frame.
//
// Errors:  in error messages of the document, in `problems`, or in both; kOk means that there are none. Only
//          std::bad_alloc comes out, if there is no memory to report with.
// Cancel:  kCancelled means that the result is incomplete; there is nothing to report.

// What a data file holds.
struct FrameDescription {
  RunStatus status = RunStatus::kError;
  std::vector<std::string> problems;
  // Set if the frame was read, even if there was an error beside that:
  std::shared_ptr<const Dictionary> dictionary;
  std::int64_t cases = 0;
  std::vector<ColumnContents> contents;  // of each variable; empty if nobody asked for them
};

// Opens a frame and counts its cases; with `readsValues`, also looks into each variable, which reads all
// cases up to twice. REQUIRES: the session has opened no frame.
FrameDescription DescribeFrame(HostSession& session, const FrameOptions& frame, bool readsValues = false);

// A plan, or why it can't be used.
struct PlanReading {
  RunStatus status = RunStatus::kError;
  std::vector<std::string> remarks;   // numbers that were misread
  std::vector<std::string> problems;  // why there is no plan, where the messages don't say that
  SVPlanSpecs plan;                   // complete if the status is kOk
};

// Reads a plan file and checks it against the plan format. Needs no frame.
PlanReading ReadPlan(HostSession& session, const std::string& path);

// How a plan fits a frame.
struct PlanCheck {
  RunStatus status = RunStatus::kError;
  std::vector<std::string> problems;  // why the frame can't be read, or one for each missing variable
};

// Opens a frame and checks that it has the variables of the plan, whatever their types. Variables that a run
// adds itself aren't looked for.
// REQUIRES: the plan was read with kOk; the session has opened no frame.
PlanCheck CheckPlan(HostSession& session, const SVPlanSpecs& plan, const FrameOptions& frame);
