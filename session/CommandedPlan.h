#pragma once

#include <optional>
#include <string>
#include <vector>

#include "backend/svcommon/SVPlanSpecs.h"

// The plan that the session's command names, read a second time after the procedure has used it. The
// procedure reports nothing about its plan, but the advice given after a run depends on it.
struct CommandedPlan {
  std::string path;  // of the plan file
  SVPlanSpecs plan;
  std::vector<int>
      stages;  // those that the command draws, ascending; there may be more of them than in the plan
};

// Empty if the command or the plan can't be read; no message is issued, since the procedure has done that.
std::optional<CommandedPlan> ReadCommandedPlan();

// The path of that plan; empty if the command can't be read or names none.
std::optional<std::string> CommandedPlanFile();

// Whether the session's command names the file for the joint probabilities. If not, the file has its default
// name, and a run that makes no joint probabilities is right to leave it out.
bool NamesJointFile();

// One line of advice after a draw was interrupted that might never have ended; otherwise empty.
std::string EndlessDrawAdvice(const CommandedPlan& commanded);
