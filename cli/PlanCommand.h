#pragma once

#include "cli/Options.h"

// `svselect plan`: tells in words what a plan says, or what is wrong with it; with a frame, which of its
// variables the frame hasn't got. Gives the exit status.
int TellPlan(const PlanOptions& options);
