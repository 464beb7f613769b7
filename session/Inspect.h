#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "backend/svcommon/SVPlanSpecs.h"
#include "host/output/RunOutcome.h"
#include "host/read/OpenFrame.h"

struct Dictionary;
class HostSession;

// Looks at a frame or a plan without drawing. As RunSurvey(), these functions work in the current session,
// write to no terminal, and report through their results and the session's document. RequestStop() ends one
// that reads a frame.
//
// Errors:  messages of the document, `problems`, or both. kOk means that there are neither.

struct FrameDescription {
  RunStatus status = RunStatus::kError;
  std::vector<std::string> problems;
  // Set if the frame was read, even if there was an error beside that:
  std::shared_ptr<const Dictionary> dictionary;
  std::int64_t cases = 0;
};

// Opens a frame and counts its cases. REQUIRES: the session has opened no frame.
FrameDescription DescribeFrame(HostSession& session, const FrameOptions& frame);

struct PlanReading {
  RunStatus status = RunStatus::kError;
  std::vector<std::string> remarks;   // numbers that were misread
  std::vector<std::string> problems;  // why there is no plan, where the messages don't say that
  SVPlanSpecs plan;                   // complete if the status is kOk
};

PlanReading ReadPlan(HostSession& session, const std::string& path);

struct PlanCheck {
  RunStatus status = RunStatus::kError;
  std::vector<std::string> problems;  // why the frame can't be read, or one for each missing variable
};

// Opens a frame and checks that it has the variables of the plan. REQUIRES: the session has opened no frame.
PlanCheck CheckPlan(HostSession& session, const SVPlanSpecs& plan, const FrameOptions& frame);
