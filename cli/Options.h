#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/engine/ActiveFile.h"
#include "host/environment/HostSession.h"
#include "host/read/OpenFrame.h"

// Exit statuses of the program.
inline constexpr int kExitOk = 0;
inline constexpr int kExitError = 1;  // an error was raised, or a file that was named can't be used
inline constexpr int kExitUsage = 2;  // the program was called wrongly
inline constexpr int kExitInterrupted = 130;

// The parts of a command that are put together from options.
struct CommandOptions {
  std::string plan;
  std::vector<std::string> stages;
  std::string seed;
  bool includeUserMissing = false;
  bool rename = false;
  bool presorted = false;
  std::string sample;
  std::vector<std::string> keep;
  std::vector<std::string> drop;
  std::string joint;
  std::string rule;
  std::vector<std::string> print;
};

// What `svselect run` was asked for. Either the whole command (as text or in a file), or its parts.
struct RunOptions {
  FrameOptions frame;
  HostSettings settings;
  std::string command;
  std::string commandFile;
  CommandOptions parts;
  bool explain = false;  // print the command, do nothing else
  std::vector<std::string> reports;
  std::string save;
  std::string progress = "auto";  // auto, always or never
  bool quiet = false;
};

struct PlanOptions {
  std::string plan;
  FrameOptions frame;  // without a path: the plan isn't held against a frame
};
