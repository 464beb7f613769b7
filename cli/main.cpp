#include <fcntl.h>
#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <csignal>
#include <iostream>

#include "cli/CommandLine.h"
#include "cli/Subcommands.h"
#include "cli/Terminal.h"
#include "cli/UsageWords.h"

namespace {

int TellUsageError(const std::string& error, const std::string& command) {
  TellProblem(error + " (" + command + " --help tells more)");
  return kExitUsage;
}

int Run(const RunOptions& options) {
  return options.explain ? ExplainCommand(options) : RunSample(options);
}

// What `--help` and `--version` ask for.
int Show(const std::string& text) {
  std::cout << text;
  return FinishOutput() ? kExitOk : kExitError;
}

int Main(int argc, const char* const* argv) {
  CLI::App app("draws probability samples by a sampling plan", "svselect");
  app.require_subcommand(0, 1);
  RunOptions runOptions;
  PlanOptions planOptions;
  FrameOptions describeOptions;
  CLI::App* run = app.add_subcommand("run", "draw a sample");
  CLI::App* plan = app.add_subcommand("plan", "tell in words what a sampling plan says");
  CLI::App* describe = app.add_subcommand("describe", "show a data file's dictionary and number of cases");
  DescribeProgram(app);
  DescribeRun(*run, runOptions);
  DescribePlan(*plan, planOptions);
  DescribeDescribe(*describe, describeOptions);
  const auto chosen = [&]() -> const CLI::App& {
    return app.get_subcommands().empty() ? app : *app.get_subcommands().front();
  };
  const auto command = [&](const CLI::App& of) { return (&of == &app ? "" : "svselect ") + of.get_name(); };
  const CLI::App& named = NamedSubcommand(app, argc, argv);
  std::string error = OverlookedWords(named, argc, argv);
  if (!error.empty()) return TellUsageError(error, command(named));
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return Show(chosen().help());
  } catch (const CLI::CallForVersion& version) {
    return Show(std::string(version.what()) + "\n");
  } catch (const CLI::ParseError& wrong) {
    return TellUsageError(ParseErrorWords(chosen(), wrong), command(chosen()));
  }
  error = UnexpectedWords(app);
  if (error.empty() && &chosen() == &app) error = "a subcommand is needed: run, plan or describe";
  if (!error.empty()) return TellUsageError(error, "svselect");
  const auto call = [&](const auto& options, auto subcommand) {
    error = UsageError(chosen(), options);
    return error.empty() ? subcommand(options) : TellUsageError(error, command(chosen()));
  };
  if (run->parsed()) return call(runOptions, Run);
  return plan->parsed() ? call(planOptions, TellPlan) : call(describeOptions, DescribeFile);
}

// A caller may close the standard files; then the next file opened would stand in their place, and take what
// is said to them. Read-only, so that writing there still fails.
void HoldStandardFiles() {
  int file = 0;
  do {
    file = open("/dev/null", O_RDONLY);
  } while (file >= 0 && file <= STDERR_FILENO);
  if (file >= 0) close(file);
}

}  // namespace

int main(int argc, char** argv) {
  HoldStandardFiles();
  std::signal(SIGPIPE, SIG_IGN);  // a reader that has seen enough, such as head, doesn't end a run
  std::signal(SIGXFSZ, SIG_IGN);  // a file that gets too large is a write that fails
  try {
    return Main(argc, argv);
  } catch (const std::bad_alloc&) {
    TellProblem("out of memory");
  } catch (const std::exception& error) {
    TellProblem(error.what());
  }
  return kExitError;
}
