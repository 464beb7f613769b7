#pragma once

#include <optional>
#include <string>
#include <vector>

#include "backend/svcommon/SVPlanSpecs.h"

class ActiveFile;

// The plan that the session's command names, read a second time after the procedure has used it. The
// procedure reports nothing about its plan, but the advice given after a run depends on it.
struct CommandedPlan {
  SVPlanSpecs plan;
  std::vector<std::string> misreadNumbers;  // one line for each, with file and what was read instead
  bool drawsFirstStage = true;              // the command may draw only later stages
};

// Empty if the command or the plan can't be read; no message is issued, since the procedure has done that.
std::optional<CommandedPlan> ReadCommandedPlan();

// Whether the session's command names the file for the joint probabilities. If not, the file has its default
// name, and a run that makes no joint probabilities is right to leave it out.
bool NamesJointFile();

// One line of advice if the first stage, drawn without exact design, may not have exactly the probabilities
// that it states; otherwise empty. Only a first stage can have a measure of size. May read that column of the
// frame.
// Errors: DataError if the frame can't be read.
std::string ExactDesignAdvice(const CommandedPlan& commanded, ActiveFile& frame);

// One line of advice after a draw was interrupted that might never have ended; otherwise empty.
std::string EndlessDrawAdvice(const CommandedPlan& commanded);
