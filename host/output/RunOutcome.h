#pragma once

#include <cstdint>
#include <string>
#include <vector>

class OutputDocument;

enum class RunStatus {
  kOk,         // everything that was asked for was made
  kError,      // an error was raised, or something that was asked for is missing
  kCancelled,  // a stop request ended the run; no file was written
};

// "ok", "error" or "cancelled", as the reports write it.
const char* StatusWord(RunStatus status);

// A file that the run has written.
struct ReportFile {
  std::string role;        // sample, joint, rule or saved
  std::string path;        // as the user wrote it
  std::int64_t cases = 0;  // cases, or clauses of a selection rule
};

// One thing that is needed to repeat the run or to recognise what it used, such as the frame, its checksum or
// the command. Shown line by line, unwrapped.
struct RunFact {
  enum class Kind : std::uint8_t {
    kPlain,
    kLong,     // a whole file: folded in a page, left out of a text
    kVarying,  // may differ between equal runs: left out for programs, which compare reports
  };

  std::string label;
  std::vector<std::string> lines;
  Kind kind = Kind::kPlain;
};

// The result of a run, as the renderers read it.
//
// Ownership:  borrows the document, which belongs to the session of the run; null for a run without one.
struct RunOutcome {
  RunStatus status = RunStatus::kError;
  const OutputDocument* document = nullptr;  // messages, notes and tables
  std::vector<ReportFile> files{};

  std::vector<std::string> remarks{};  // sentences beside the messages, of the procedure and of the program
  std::vector<RunFact> facts{};
  std::string inWords{};  // how it ended, if that isn't to be said as of a run
};

// A sentence about how the run ended. Status kError has two: a run can fail without an error message, when
// files that were asked for are missing.
// REQUIRES: the outcome has a document.
std::string StatusInWords(const RunOutcome& outcome);
