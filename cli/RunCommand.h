#pragma once

#include "cli/Options.h"

// `svselect run`: opens the frame, runs the command, puts the files in their places and shows the output.
// Gives the exit status.
int RunSample(const RunOptions& options);

// `svselect run --explain`: prints the command and does nothing else.
int ExplainCommand(const RunOptions& options);
