#pragma once

#include <optional>
#include <string>
#include <vector>

#include "backend/svcommon/SVPlanSpecs.h"

// The plan that the session's command names, and which of its stages the command draws.
struct CommandedPlan {
  SVPlanSpecs plan;
  std::vector<std::string> misreadNumbers;  // of the plan, each with what was read
  bool drawsFirstStage = true;              // the only one that can have a measure of size
};

// Reads it again after a run that came to reading cases. Empty, without a word, when it is no longer to be
// had. REQUIRES: the command is one that the procedure has taken.
std::optional<CommandedPlan> ReadCommandedPlan();

// Whether the session's command names a file for the joint probabilities. Else their file has its default
// name, and a run that has no use for it does without it.
bool NamesJointFile();

// Whether the draw of the first stage, made without --exact-design, may not have quite the probabilities that
// it states: a line of advice, empty when there is none to give. It may pass over the measure of size.
// Errors: DataError when the frame can't be read.
std::string ExactDesignAdvice(const CommandedPlan& commanded);

// What to do about a draw that may never have ended, to whom has interrupted it; empty when there is nothing.
std::string EndlessDrawAdvice(const CommandedPlan& commanded);
