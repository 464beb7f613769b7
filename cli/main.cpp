#include <fcntl.h>
#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <csignal>
#include <exception>
#include <iostream>
#include <string_view>

#include "cli/CommandLine.h"
#include "cli/PlanningLine.h"
#include "cli/PreviewLine.h"
#include "cli/Subcommands.h"
#include "cli/Terminal.h"
#include "cli/UsageWords.h"

// The program: standard files and signals first, then the command line, then one subcommand.
//
// Exceptions end here. The library reports its failures by outcomes and messages; what arrives here comes
// from parsing or printing, or there was no memory to report with.

namespace {

// Ends a message with the call that shows the help of the subcommand in question.
int TellUsageError(const std::string& error, const std::string& command) {
  TellProblem(error + " (" + command + " --help tells more)");
  return kExitUsage;
}

// --explain makes no run; it only shows the command.
int Run(const RunOptions& options) {
  return options.explain ? ExplainCommand(options) : RunSample(options);
}

// Prints what `--help` or `--version` asked for; as with any output, not being able to write it is an error.
int Show(const std::string& text) {
  std::cout << text;
  return FinishOutput() ? kExitOk : kExitError;
}

// From the command line to the exit status. The parser knows all subcommands from the start, so that a wrong
// word can be compared with all of their names. A subcommand isn't required of the parser: the message about
// a missing one would be its own, not ours.
int Main(int argc, const char* const* argv) {
  CLI::App app("draws probability samples by a sampling plan", "svselect");
  app.require_subcommand(0, 1);
  RunOptions runOptions;
  PlanOptions planOptions;
  PreviewOptions previewOptions;
  DescribeOptions describeOptions;
  DesignOptions designOptions;
  SizeOptions sizeOptions;
  CLI::App* run = app.add_subcommand("run", "draw a sample");
  CLI::App* plan = app.add_subcommand("plan", "describe a sampling plan in words");
  CLI::App* preview = app.add_subcommand("preview", "tell what a plan will do to a frame, before the draw");
  CLI::App* describe = app.add_subcommand("describe", "show a data file's dictionary and number of cases");
  CLI::App* design = app.add_subcommand("design", "make a sampling plan from options");
  CLI::App* size = app.add_subcommand("size", "tell how many units a precision needs");
  DescribeProgram(app);
  DescribeRun(*run, runOptions);
  DescribePlan(*plan, planOptions);
  DescribePreview(*preview, previewOptions);
  DescribeDescribe(*describe, describeOptions);
  DescribeDesign(*design, designOptions);
  DescribeSize(*size, sizeOptions);
  // The subcommand that was parsed; while there is none, the program itself.
  const auto chosen = [&]() -> const CLI::App& {
    return app.get_subcommands().empty() ? app : *app.get_subcommands().front();
  };
  const auto command = [&](const CLI::App& of) { return (&of == &app ? "" : "svselect ") + of.get_name(); };
  const CLI::App& named = NamedSubcommand(app, argc, argv);
  std::string error = OverlookedWords(named, argc, argv);
  if (!error.empty()) return TellUsageError(error, command(named));
  // The parser asks for help and version by exceptions too. It stops at the first fault.
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return Show(chosen().help());
  } catch (const CLI::CallForVersion& version) {
    return Show(std::string(version.what()) + "\n");
  } catch (const CLI::ParseError& wrong) {
    return TellUsageError(ParseErrorWords(chosen(), wrong), command(chosen()));
  }
  // An unknown word is reported before the missing subcommand, which it may have been meant for.
  error = UnexpectedWords(app);
  if (error.empty() && &chosen() == &app)
    error = "a subcommand is needed: run, plan, preview, describe, design or size";
  if (!error.empty()) return TellUsageError(error, "svselect");
  // Options can be right one by one and wrong together.
  const auto call = [&](const auto& options, auto subcommand) {
    error = UsageError(chosen(), options);
    return error.empty() ? subcommand(options) : TellUsageError(error, command(chosen()));
  };
  if (run->parsed()) return call(runOptions, Run);
  if (preview->parsed()) return call(previewOptions, TellPreview);
  if (design->parsed()) return call(designOptions, MakePlan);
  if (size->parsed()) return call(sizeOptions, TellSize);
  return plan->parsed() ? call(planOptions, TellPlan) : call(describeOptions, DescribeFile);
}

// Opens /dev/null for standard files that the caller has closed. Otherwise the next file opened, perhaps the
// sample, would get the number of standard error, and messages would be written into it. Read-only, so that
// writing to a closed file is still an error.
void HoldStandardFiles() {
  int file = 0;
  do {
    file = open("/dev/null", O_RDONLY);
  } while (file >= 0 && file <= STDERR_FILENO);
  if (file >= 0) close(file);
}

// An exception that nobody could catch: thrown where none may leave, mostly by a library that found no
// memory. The files are left as by a kill, which the next run knows how to deal with. Nothing here takes
// memory.
[[noreturn]] void OnTerminate() {
  constexpr std::string_view kText = "svselect: ended early, out of memory or by a fault of a library\n";
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText.data(), kText.size());
  _exit(kExitError);
}

}  // namespace

int main(int argc, char** argv) {
  std::set_terminate(OnTerminate);
  HoldStandardFiles();
  std::signal(SIGPIPE, SIG_IGN);  // a reader that closes the pipe, such as head, must not end a run
  std::signal(SIGXFSZ, SIG_IGN);  // a file over the size limit is a failed write, with a message
  try {
    return Main(argc, argv);
  } catch (const std::bad_alloc&) {
    TellProblem("out of memory");
  } catch (const std::exception& error) {
    TellProblem(error.what());
  }
  return kExitError;
}
