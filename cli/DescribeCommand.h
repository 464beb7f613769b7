#pragma once

#include "cli/Options.h"

// `svselect describe`: the dictionary, the documents and the number of cases of a data file on standard
// output. Gives the exit status.
int DescribeFrame(const FrameOptions& options);
