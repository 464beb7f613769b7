#pragma once

#include <string>
#include <vector>

#include "host/read/OpenFrame.h"

namespace CLI {
class App;
}
struct SizeQuestion;

// The options of the subcommands that plan a sample, in the manner of CommandLine.h.

// Options of `svselect size`. Numbers as they were typed; empty means not given.
struct SizeOptions {
  std::string target;  // proportion, mean or total
  std::string expected;
  std::string deviation;
  std::string population;
  std::string margin;
  std::string cv;
  std::string confidence;
  std::string designEffect;
  std::string responseRate;
  bool json = false;
};

// Options of `svselect design`.
struct DesignOptions {
  std::vector<std::string> stages;  // in words, one for each
  std::string title;
  std::string weight;
  std::string previousWeight;
  std::string allocate;
  FrameOptions frame;
  std::string out;
};

// Declare the options and the help page; as in CommandLine.h.
void DescribeSize(CLI::App& app, SizeOptions& options);
void DescribeDesign(CLI::App& app, DesignOptions& options);

// As in CommandLine.h.
std::string UsageError(const CLI::App& app, const SizeOptions& options);
std::string UsageError(const CLI::App& app, const DesignOptions& options);

// Turns the options into a question. Returns what is wrong with it, in one line; empty if nothing is.
std::string ReadSizeQuestion(const SizeOptions& options, SizeQuestion* question);
