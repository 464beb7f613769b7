#pragma once

#include <string>

#include "cli/Options.h"

// The SVSELECT command that says what the options say.
std::string CommandText(const CommandOptions& options);
