#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/environment/HostSession.h"
#include "host/read/OpenFrame.h"

namespace CLI {
class App;
}
struct SurveyCost;

// Options of `svselect preview`, in the manner of CommandLine.h.
struct PreviewOptions {
  std::string plan;
  FrameOptions frame;
  HostSettings settings;
  bool includeUserMissing = false;
  std::string cost;  // as it was typed; empty if not given
  std::vector<std::string> reports;
  bool json = false;
};

void DescribePreview(CLI::App& app, PreviewOptions& options);
std::string UsageError(const CLI::App& app, const PreviewOptions& options);

// Reads "C0,C1,C2"; a text that is empty leaves the cost as it is. False for any other text.
bool ReadSurveyCost(const std::string& text, std::optional<SurveyCost>* cost);
