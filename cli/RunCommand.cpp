#include <unistd.h>

#include <iostream>

#include "cli/ProgressLine.h"
#include "cli/Subcommands.h"
#include "cli/Terminal.h"
#include "host/engine/CaseProgress.h"
#include "host/output/OutputDocument.h"
#include "host/render/TextRenderer.h"
#include "session/RunSurvey.h"

// `svselect run`: the request from the options, the run with a progress line, and then what is shown, in the
// order of importance on the two streams: messages and remarks on standard error, notes and tables on
// standard output, and last, on standard error again, what couldn't be written.

namespace {

// The command file, if there is one, is read by the run, after it has claimed its own files.
RunRequest RequestOf(const RunOptions& options) {
  RunRequest request;
  request.frame = options.frame;
  request.command = options.command.empty() ? CommandText(options.parts) : options.command;
  request.commandFile = options.commandFile;
  request.save = options.save;
  request.reports = options.reports;
  return request;
}

// Text of the progress line for each step; empty while the passes over the cases are shown.
std::string TaskOf(RunStep step, const RunOptions& options) {
  switch (step) {
    case RunStep::kReadFrame:
      return "reading " + (options.frame.path.empty() ? "the query" : options.frame.path);
    case RunStep::kWriteFiles:
      return options.save.empty() ? "finishing the files" : "saving " + options.save;
    case RunStep::kReview:
      return "looking back on the sample";
    case RunStep::kReport:
      return "writing the reports";
    default:
      return "";
  }
}

// The line is gone when this returns: nothing else may be written to standard error before. Without a progress
// line the sinks stay empty, which saves the run from counting the cases.
// `told` becomes the remark that was shown before the draw.
SurveyOutcome RunWithProgress(HostSession& session, const RunOptions& options, std::string* told) {
  ProgressLine progress(options.progress, TaskOf(RunStep::kReadFrame, options),
                        session.Layer<CaseProgress>());
  RunSinks sinks;
  sinks.replaces = [&](const std::string& remark) { progress.Tell(*told = remark); };
  if (progress.IsOn()) {
    sinks.stepBegins = [&](RunStep step) {
      const std::string task = TaskOf(step, options);
      if (!task.empty()) progress.ShowTask(task);
    };
    sinks.frameCounted = [&](std::int64_t cases) { progress.ShowPasses(cases); };
  }
  return RunSurvey(session, RequestOf(options), sinks);
}

// Prints messages and remarks on standard error. Warnings of an interrupted run aren't printed: there is no
// sample that they could be about. A remark that was told before isn't repeated.
void TellOutcome(const RunOutcome& outcome, const OutputDocument& document, const std::string& told) {
  if (outcome.status == RunStatus::kCancelled) {
    TellProblem("interrupted; no sample was written");
  } else {
    RenderMessages(document, std::cerr);
  }
  for (const std::string& remark : outcome.remarks) {
    if (remark != told) TellProblem(remark);
  }
}

}  // namespace

// Claims and opens nothing but the command file, and needs no frame.
int ExplainCommand(const RunOptions& options) {
  HostSession session;
  const OutputDocument& document = session.Layer<OutputDocument>();  // collects the messages from here on
  std::string text;
  const bool isGood = ReadCommandText(session, RequestOf(options), &text);
  RenderMessages(document, std::cerr);
  if (isGood) std::cout << text << '\n';
  return FinishOutput() && isGood ? kExitOk : kExitError;
}

int RunSample(const RunOptions& options) {
  HostSession session(options.settings);
  CatchInterrupts();
  std::string told;
  const SurveyOutcome outcome = RunWithProgress(session, options, &told);
  const OutputDocument& document = session.Layer<OutputDocument>();
  TellOutcome(outcome, document, told);
  if (!options.quiet) RenderText(document, TerminalWidth(STDOUT_FILENO), std::cout);
  bool isTold = FinishOutput();  // whether the user got everything that was asked for
  for (const std::string& problem : outcome.reportProblems) {
    TellProblem(problem);
    isTold = false;
  }
  if (outcome.status == RunStatus::kCancelled) return kExitInterrupted;
  return outcome.status == RunStatus::kOk && isTold ? kExitOk : kExitError;
}
