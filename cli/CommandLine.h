#pragma once

#include <CLI/App.hpp>
#include <string>

#include "cli/Options.h"

// The options of one subcommand of the program. The values stand in the records that are handed over, once
// the command line has been parsed.
void DescribeRun(CLI::App& app, RunOptions& options);
void DescribePlan(CLI::App& app, PlanOptions& options);
void DescribeDescribe(CLI::App& app, FrameOptions& options);

// What is wrong with a parsed `run`, in one line; empty when nothing is.
std::string UsageError(const RunOptions& options);
