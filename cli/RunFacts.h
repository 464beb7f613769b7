#pragma once

#include <vector>

#include "cli/Options.h"
#include "host/output/RunOutcome.h"

// What it takes to run it again, beside the plan and the frame themselves, and the day. The command is the
// session's, left out where it hasn't any.
std::vector<RunFact> FactsOf(const RunOptions& options);
