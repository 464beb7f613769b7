#include <CLI/CLI.hpp>
#include <csignal>

#include "cli/CommandLine.h"
#include "cli/DescribeCommand.h"
#include "cli/Options.h"
#include "cli/PlanCommand.h"
#include "cli/RunCommand.h"
#include "cli/Terminal.h"

namespace {

int Run(const RunOptions& options) {
  if (const std::string error = UsageError(options); !error.empty()) {
    TellProblem(error + " (svselect run --help tells more)");
    return kExitUsage;
  }
  return options.explain ? ExplainCommand(options) : RunSample(options);
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that has seen enough, such as head, doesn't end a run
  CLI::App app("Draws a probability sample from the cases of a data file, by a sampling plan.", "svselect");
  app.set_version_flag("--version", "svselect " SV_VERSION);
  app.require_subcommand(1);
  RunOptions runOptions;
  PlanOptions planOptions;
  FrameOptions describeOptions;
  CLI::App* run = app.add_subcommand("run", "Draw a sample");
  CLI::App* plan = app.add_subcommand("plan", "Tell in words what a sampling plan says");
  CLI::App* describe = app.add_subcommand("describe", "Show a data file's dictionary and number of cases");
  DescribeRun(*run, runOptions);
  DescribePlan(*plan, planOptions);
  DescribeDescribe(*describe, describeOptions);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // --help, --version
    TellProblem(std::string(error.what()) + " (svselect --help tells more)");
    return kExitUsage;
  }
  if (run->parsed()) return Run(runOptions);
  return plan->parsed() ? TellPlan(planOptions) : DescribeFrame(describeOptions);
}
