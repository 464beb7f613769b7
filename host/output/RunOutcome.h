#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What the program knows of a run beyond its output.
struct ReportFile {
  std::string role;  // sample, joint, rule or saved
  std::string path;  // as written in the command
  std::int64_t cases = 0;
};
struct RunOutcome {
  std::string status;  // ok, error or cancelled
  std::vector<ReportFile> files;
};
