#pragma once

#include <string>
#include <vector>

#include "host/environment/HostSession.h"
#include "host/read/OpenFrame.h"
#include "session/CommandText.h"

namespace CLI {
class App;
}

// The options of the subcommands: what they fill, how they are declared, and which combinations are wrong.

// Options of `svselect run`.
struct RunOptions {
  FrameOptions frame;
  HostSettings settings;

  // The command in one of three ways; UsageError() sees to it that there is one and only one.
  std::string command;
  std::string commandFile;
  CommandParts parts;
  bool explain = false;  // print the command, do nothing else

  // Files beside those of the command, and what is shown.
  std::vector<std::string> reports;
  std::string save;
  std::string progress = "auto";  // auto, always or never
  bool quiet = false;
};

// Options of `svselect plan`. Without a frame the plan is read and nothing is checked against it.
struct PlanOptions {
  std::string plan;
  std::string to;  // file to write the plan to, instead of showing it
  FrameOptions frame;
};

// Options of `svselect describe`.
struct DescribeOptions {
  FrameOptions frame;
  bool quick = false;  // leave out what is in the cases
};

// Declare the options and the help page of the program and of its subcommands. The values are in `options`
// once the command line has been parsed; `options` must outlive `app`.
void DescribeProgram(CLI::App& app);
void DescribeRun(CLI::App& app, RunOptions& options);
void DescribePlan(CLI::App& app, PlanOptions& options);
void DescribeDescribe(CLI::App& app, DescribeOptions& options);

// After parsing: one line about the first usage error in the subcommand, empty if there is none. Finds what
// the parser of the options can't: options that exclude or need each other, entries given twice.
std::string UsageError(const CLI::App& app, const RunOptions& options);
std::string UsageError(const CLI::App& app, const PlanOptions& options);
std::string UsageError(const CLI::App& app, const DescribeOptions& options);
