#pragma once

#include <cstdint>
#include <string>
#include <vector>

class OutputDocument;

// The outcome of a run, for reports: what the program knows about the run that isn't output of the procedure.

// A file that the run has written.
struct ReportFile {
  std::string role;        // sample, joint, rule or saved
  std::string path;        // as the user wrote it
  std::int64_t cases = 0;  // cases, or clauses of a selection rule
};

// One thing that is needed to repeat the run, such as the frame or the command. Shown line by line,
// unwrapped.
struct RunFact {
  std::string label;
  std::vector<std::string> lines;
};

struct RunOutcome {
  std::string status;  // ok, error or cancelled
  std::vector<ReportFile> files;
  // Only in reports for people; the JSON report has neither.
  std::vector<std::string> remarks{};  // the program's own messages
  std::vector<RunFact> facts{};
};

// A sentence about how the run ended. Status "error" has two: a run can fail without an error message, when
// files that were asked for are missing.
std::string StatusInWords(const RunOutcome& outcome, const OutputDocument& document);
