#pragma once

#include <optional>
#include <string>

#include "backend/svcommon/SVPlanSpecs.h"

// The plan that the session's command names, read a second time after the procedure has used it. The
// procedure reports nothing about its plan, but the advice given after a run depends on it.
struct CommandedPlan {
  SVPlanSpecs plan;
  bool drawsFirstStage = true;  // the command may draw only later stages
};

// Empty if the command or the plan can't be read; no message is issued, since the procedure has done that.
std::optional<CommandedPlan> ReadCommandedPlan();

// Whether the session's command names the file for the joint probabilities. If not, the file has its default
// name, and a run that makes no joint probabilities is right to leave it out.
bool NamesJointFile();

// One line of advice after a draw was interrupted that might never have ended; otherwise empty.
std::string EndlessDrawAdvice(const CommandedPlan& commanded);
