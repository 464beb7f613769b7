#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "backend/svcommon/SVPlanSpecs.h"
#include "host/engine/CaseEngine.h"
#include "host/output/RunOutcome.h"
#include "host/read/OpenFrame.h"

struct CommandParts;
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
  // Of each variable; empty if nobody asked for them, or if there are more than kMostSummarized variables: each
  // takes a look at the frame of its own.
  static constexpr std::size_t kMostSummarized = 1000;
  std::vector<ColumnContents> contents;
};

// Opens a frame and counts its cases; with `readsValues`, also looks into each variable, which reads all
// cases up to twice. REQUIRES: the session has opened no frame.
FrameDescription DescribeFrame(HostSession& session, const FrameOptions& frame, bool readsValues = false);

// A plan, or why it can't be used.
struct PlanReading {
  RunStatus status = RunStatus::kError;
  std::vector<std::string> remarks;   // numbers that were misread, and where the plan contradicts itself
  std::vector<std::string> problems;  // what is wrong, in addition to the messages, and where
  bool isRead = false;                // the plan is complete; but it may lack what a draw needs
  SVPlanSpecs plan;
};

// Reads a plan file, and checks it against the plan format and for what no draw can do without. Needs no
// frame.
PlanReading ReadPlan(HostSession& session, const std::string& path);

// The variables that a frame must have, each once, in the order of the plan: all but those that a run adds.
std::vector<KorvVarName> FrameVariablesOf(const SVPlanSpecs& plan);

// How a plan fits a frame.
struct PlanCheck {
  RunStatus status = RunStatus::kError;
  std::vector<std::string> remarks;   // what was found in the frame, and those on the plan once more
  std::vector<std::string> problems;  // why the frame can't be read, or one for each missing variable
};

// Opens a frame and checks that it has the variables of the plan, each once. If it has, the procedure checks
// all that can be checked before a draw of all stages: types of variables, names of output variables, tables
// against the frame, and the strata and units of the first stage. Errors that the draw would end with are
// messages of the document. Nothing is written.
// REQUIRES: the plan was read with kOk; the session has opened no frame. Afterwards it can't be used to draw.
PlanCheck CheckPlan(HostSession& session, const SVPlanSpecs& plan, const FrameOptions& frame);
// The same by a command of the caller's. REQUIRES: the session is set to check only.
PlanCheck CheckPlanBy(HostSession& session, const SVPlanSpecs& plan, const FrameOptions& frame,
                      const CommandParts& command);
