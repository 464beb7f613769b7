#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/output/RunOutcome.h"
#include "host/read/OpenFrame.h"
#include "report/FinalWeights.h"

class HostSession;

// A run as a library function: the program calls it, and so can any other caller. Nothing here writes to a
// terminal, installs a signal handler or ends the process, and no exception comes out.

// What a run is asked to do. How it is done (threads, exact design) is in the settings of the session.
struct RunRequest {
  FrameOptions frame;

  std::string command;                    // text of an SVSELECT command
  std::string commandSource = "Command";  // how messages name that text
  std::string commandFile;                // a file that holds the command, read instead of the text

  // Files beside those that the command names; empty for none.
  std::string save;                  // data file for the frame with the variables that the run added
  std::vector<std::string> reports;  // REQUIRES: each has a name that KindOfReport() knows

  // Reads the sample back to fill SurveyOutcome::weights; a report for people does that unasked.
  bool summarizeWeights = false;
};

// The parts of a run, in order.
enum class RunStep {
  kReadFrame,
  kDraw,
  kWriteFiles,  // the saved frame
  kReview,      // reads the sample back
  kReport,      // composes the reports; then all files take their places
};

// How a caller watches a run. An empty function isn't called. Each is called on the thread of the run and may
// call RequestStop(); it must not throw.
//
// While the run draws, any thread may read the CaseProgress layer of the session, and any thread or signal
// handler may call RequestStop().
struct RunSinks {
  // A step begins. Steps may be missing at the end of a run that fails or is stopped.
  std::function<void(RunStep)> stepBegins{};
  // Number of cases in the frame, -1 if unknown; called once, before the draw. When this is set the cases are
  // counted, which takes an extra look into the file.
  std::function<void(std::int64_t)> frameCounted{};
  // One line about an earlier sample that the run is going to replace, before it draws. Remarks of a good run
  // have it too.
  std::function<void(const std::string&)> replaces{};
};

// The document of the outcome is that of the session and lives as long.
struct SurveyOutcome : RunOutcome {
  std::optional<FinalWeights> weights;      // of the sample; empty unless asked for and found
  std::vector<std::string> reportProblems;  // one line for each reason why reports couldn't be written
};

// Opens the frame, runs the command, composes the reports, and puts all files in their places. They appear
// all together or not at all. A run that keeps no files still writes its reports, each for itself.
//
// REQUIRES: the session is the current one and new: no run, frame or file has used it. One run at a time in a
//           process; the next needs a new session.
// Errors:   kError with the reason in the messages or remarks. An exception inside the procedure, even out of
//           memory, is an error like any other.
// Cancel:   RequestStop() ends the run within a fraction of a second, with kCancelled. Error messages are
//           dropped then: they would only describe the interruption.
SurveyOutcome RunSurvey(HostSession& session, const RunRequest& request, const RunSinks& sinks = {}) noexcept;

// Gets the text of a request's command, from its file if it names one. False, after an error message in the
// session's document, if the file can't be used.
bool ReadCommandText(HostSession& session, const RunRequest& request, std::string* text);
