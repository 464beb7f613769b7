#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

class OutputDocument;

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

// The report for programs: one JSON object with the members procedure, status, messages, notes, tables and
// files. It is written as it is made, so that its size is bounded by the disk. Bytes that are no UTF-8 come
// out as U+FFFD.
void WriteJsonReport(const OutputDocument& document, const RunOutcome& outcome, std::ostream& out);
