#pragma once

#include <cstdint>
#include <string>
#include <vector>

class OutputDocument;

// What the program knows of a run beyond its output.
struct ReportFile {
  std::string role;  // sample, joint, rule or saved
  std::string path;  // as written in the command
  std::int64_t cases = 0;
};
// A part of what it takes to run it again.
struct RunFact {
  std::string label;
  std::vector<std::string> lines;
};
struct RunOutcome {
  std::string status;  // ok, error or cancelled
  std::vector<ReportFile> files;
  // For people only:
  std::vector<std::string> remarks{};  // the program's own, beside the messages
  std::vector<RunFact> facts{};
};

// How the run ended, such as "The run ended with an error.".
std::string StatusInWords(const RunOutcome& outcome, const OutputDocument& document);
