#pragma once

#include <CLI/App.hpp>
#include <string>

#include "cli/Options.h"

// The program's own options and help page, then those of its subcommands. The values stand in the records
// that are handed over, once the command line has been parsed.
void DescribeProgram(CLI::App& app);
void DescribeRun(CLI::App& app, RunOptions& options);
void DescribePlan(CLI::App& app, PlanOptions& options);
void DescribeDescribe(CLI::App& app, FrameOptions& options);

// What is wrong with a parsed subcommand, in one line; empty when nothing is.
std::string UsageError(const CLI::App& app, const RunOptions& options);
std::string UsageError(const CLI::App& app, const PlanOptions& options);
std::string UsageError(const CLI::App& app, const FrameOptions& options);
