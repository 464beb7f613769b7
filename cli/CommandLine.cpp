#include "cli/CommandLine.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace {

// A script's unset variable gives an empty text; that shall not read as an option that wasn't given.
void RefuseEmptyValues(CLI::App& app) {
  const CLI::Validator notEmpty(
      [](const std::string& text) { return std::string(text.empty() ? "needs a value" : ""); }, "");
  for (CLI::Option* option : app.get_options()) {
    if (option->get_expected_max() > 0) option->check(notEmpty);
  }
}

void AddFrame(CLI::App& app, FrameOptions& frame) {
  app.add_option("--data", frame.path, "Data file to draw from: .sav, .parquet, .csv, .tsv, .json or .ndjson")
      ->type_name("FRAME");
  app.add_option("--sql", frame.sql, "Query whose rows are drawn from, in place of --data")
      ->type_name("QUERY");
  app.add_option("--sort", frame.sort, "Variables to order the cases by; ties keep their order")
      ->delimiter(',')
      ->type_name("A,B");
  app.add_option("--schema", frame.schema, "Table Schema of the frame, in place of the one beside it")
      ->type_name("FILE");
  app.add_option("--weight", frame.weight, "Variable that weights the cases")->type_name("VAR");
  app.add_option("--split", frame.split, "Variables whose changes split the cases into groups")
      ->delimiter(',')
      ->type_name("A,B");
}

void AddCommandParts(CLI::App& app, CommandOptions& parts) {
  const std::string group = "The command, by its parts";
  const auto add = [&](const char* name, auto& value, const char* help, const char* type) {
    return app.add_option(name, value, help)->group(group)->type_name(type);
  };
  const auto flag = [&](const char* name, bool& value, const char* help) {
    app.add_flag(name, value, help)->group(group);
  };
  add("--plan", parts.plan, "Sampling plan", "FILE");
  add("--stages", parts.stages, "Stages to draw; all without it", "1,2")->delimiter(',');
  add("--seed", parts.seed, "Seed of the random numbers, or random", "N");
  flag("--include-user-missing", parts.includeUserMissing,
       "User-missing values of strata and cluster variables are categories");
  flag("--rename", parts.rename, "Variables that have a new variable's name give way to it");
  flag("--presorted", parts.presorted, "The cases are sorted by the design variables");
  add("--sample", parts.sample, "Data file for the sample", "FILE");
  add("--keep", parts.keep, "Variables to copy to the sample", "A,B")->delimiter(',');
  add("--drop", parts.drop, "Variables not to copy, or ALL", "A,B")->delimiter(',');
  add("--joint", parts.joint, "Data file for the joint inclusion probabilities", "FILE");
  add("--rule", parts.rule, "Text file that states the sample as a rule", "FILE");
  add("--print", parts.print, "Tables to print: selection, cps", "WORDS")->delimiter(',');
}

bool IsAnyGiven(const CommandOptions& parts) {
  return !parts.plan.empty() || !parts.stages.empty() || !parts.seed.empty() || parts.includeUserMissing ||
         parts.rename || parts.presorted || !parts.sample.empty() || !parts.keep.empty() ||
         !parts.drop.empty() || !parts.joint.empty() || !parts.rule.empty() || !parts.print.empty();
}

}  // namespace

void DescribeRun(CLI::App& app, RunOptions& options) {
  AddFrame(app, options.frame);
  AddCommandParts(app, options.parts);
  const std::string whole = "The command, as a whole";
  app.add_option("--command", options.command, "SVSELECT command")->group(whole)->type_name("TEXT");
  app.add_option("--command-file", options.commandFile, "File that holds the SVSELECT command")
      ->group(whole)
      ->type_name("FILE");
  app.add_flag("--explain", options.explain, "Print the command and do nothing else")->group(whole);
  app.add_flag("--exact-design", options.settings.exactDesign,
               "Draw by Brewer, Sampford and PPS_WOR with exactly the probabilities that are stated");
  app.add_option("--threads", options.settings.threads, "Threads; the machine's processors without it")
      ->check(CLI::Range(1, 1024))
      ->type_name("N");
  app.add_option("--report", options.reports, "File for the report, .json or .txt; may be repeated")
      ->type_name("FILE")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_option("--save", options.save, "Data file for the frame with the new variables")->type_name("FILE");
  app.add_flag("--quiet", options.quiet, "No tables and notes on standard output");
  RefuseEmptyValues(app);
}

void DescribePlan(CLI::App& app, PlanOptions& options) {
  app.add_option("PLAN", options.plan, "Sampling plan")->required();
  app.add_option("--data", options.frame.path, "Data file to hold the plan's variables against")
      ->type_name("FRAME");
  app.add_option("--schema", options.frame.schema, "Table Schema of the frame")->type_name("FILE");
  RefuseEmptyValues(app);
}

void DescribeDescribe(CLI::App& app, FrameOptions& options) {
  app.add_option("FRAME", options.path, "Data file")->required();
  app.add_option("--schema", options.schema, "Table Schema of the frame")->type_name("FILE");
  RefuseEmptyValues(app);
}

std::string UsageError(const RunOptions& options) {
  if (!options.command.empty() && !options.commandFile.empty()) {
    return "--command and --command-file exclude each other";
  }
  const bool isWhole = !options.command.empty() || !options.commandFile.empty();
  if (isWhole && IsAnyGiven(options.parts)) {
    return "options such as --plan are parts of the command; with --command or --command-file write them "
           "there";
  }
  if (!isWhole && options.parts.plan.empty()) return "a plan is needed: --plan FILE, or a whole --command";
  if (options.explain) return "";
  if (options.frame.path.empty() == options.frame.sql.empty()) {
    return options.frame.path.empty() ? "a frame is needed: --data FRAME or --sql QUERY"
                                      : "--data and --sql exclude each other";
  }
  for (const std::string& report : options.reports) {
    if (!report.ends_with(".json") && !report.ends_with(".txt")) {
      return "--report " + report + ": the name must end in .json or .txt";
    }
  }
  return "";
}
