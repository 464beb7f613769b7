#include "cli/CommandLine.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <utility>

#include "backend/svcommon/design/MethodTable.h"
#include "cli/HelpPage.h"
#include "cli/ReportKind.h"
#include "cli/UsageWords.h"
#include "host/text/VariableNames.h"

namespace {

constexpr int kMaxThreads = 1024;
constexpr std::string_view kMaxSeed = "2147483647";

const char* const kFrameGroup = "THE FRAME";
const char* const kPartsGroup = "WHAT TO DRAW AND WRITE: THE COMMAND BY ITS PARTS";
const char* const kWholeGroup = "THE COMMAND AS A WHOLE";
const char* const kSessionGroup = "THE RUN";
const char* const kHelpGroup = "HELP";

const char* const kRunAfter = R"(EXIT STATUS
  0    the run ended without an error
  1    an error was raised, or a file that was named can't be used
  2    svselect was called wrongly
  130  the run was interrupted

EXAMPLES
  Draw by a plan, and keep the sample and the joint probabilities:
    svselect run --data schools.csv --plan plan.xml --seed 4711 \
        --sample sample.csv --joint joint.csv
  Draw from the rows of a query, in the order of two variables:
    svselect run --sql "SELECT * FROM 'schools.csv' WHERE type = 'H'" \
        --sort county,district --plan plan.xml --sample sample.parquet
  See the command that the options stand for:
    svselect run --plan plan.xml --seed 4711 --sample sample.csv --explain
)";

const char* const kPlanAfter = R"(EXIT STATUS
  0 when the plan can be read and the frame has its variables, 1 when not,
  2 when svselect was called wrongly.

EXAMPLES
    svselect plan plan.xml
    svselect plan plan.xml --data schools.csv
)";

const char* const kDescribeAfter = R"(EXIT STATUS
  0 when the file can be read, 1 when not, 2 when svselect was called wrongly.

EXAMPLES
    svselect describe schools.csv
    svselect describe sample.parquet
)";

const char* const kProgramAfter = R"(EXAMPLES
  What a file holds, what a plan says, and a sample by it:
    svselect describe schools.csv
    svselect plan plan.xml --data schools.csv
    svselect run --data schools.csv --plan plan.xml --sample sample.csv

  svselect run --help tells all options of a run; so does svselect(1).
)";

// A script's unset variable gives an empty text, and shall not read as an option that wasn't given; nor shall
// the option behind one whose value was forgotten read as that value.
std::string WhyNoValue(const std::string& text) {
  if (text.empty()) return "the value is empty";
  const bool isOption =
      text.starts_with("--") && (text.size() == 2 || CLI::detail::valid_first_char(text[2]));
  return isOption ? "needs a value, and " + QuotedWord(text) + " follows" : "";
}

// Takes the blanks off an entry of a list, as of "a, b".
std::string Trim(std::string& text) {
  CLI::detail::trim(text);
  return "";
}

// Options of one group, each with its value's name in the help.
class OptionGroup {
public:
  OptionGroup(CLI::App& app, const char* name) : fApp(app), fpName(name) {}

  CLI::Option* Add(const char* name, std::string& value, const char* type, const char* help) {
    return Settle(fApp.add_option(name, value, help), type);
  }
  CLI::Option* Add(const char* name, int& value, const char* type, const char* help) {
    return Settle(fApp.add_option(name, value, help), type);
  }
  // A list, in one value with commas or in several of the same option; never the words that follow.
  CLI::Option* AddList(const char* name, std::vector<std::string>& values, const char* type,
                       const char* help) {
    return AddRepeated(name, values, type, help)->delimiter(',')->transform(CLI::Validator(Trim, ""));
  }
  CLI::Option* AddRepeated(const char* name, std::vector<std::string>& values, const char* type,
                           const char* help) {
    return Settle(fApp.add_option(name, values, help), type)
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }
  void AddFlag(const char* name, bool& value, const std::string& help) {
    fApp.add_flag(name, value, help)->group(fpName)->disable_flag_override();
  }

private:
  CLI::Option* Settle(CLI::Option* option, const char* type) {
    return option->group(fpName)->type_name(type)->check(CLI::Validator(WhyNoValue, ""));
  }

  CLI::App& fApp;
  const char* fpName;
};

CLI::Validator Allowed(const char* what, bool (*isAllowed)(const std::string&)) {
  return CLI::Validator(
      [=](const std::string& text) -> std::string {
        return isAllowed(text) ? "" : QuotedWord(text) + " isn't " + what;
      },
      "");
}

bool IsWholeNumber(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool IsThreads(const std::string& text) {
  constexpr std::size_t kMostDigits = 4;
  if (!IsWholeNumber(text) || text.size() > kMostDigits) return false;
  const int threads = std::stoi(text);
  return threads >= 1 && threads <= kMaxThreads;
}

bool IsStage(const std::string& text) {
  return text == "1" || text == "2" || text == "3";
}

bool IsSeed(const std::string& text) {
  if (!IsWholeNumber(text)) return CLI::detail::to_lower(text) == "random";
  const std::string_view number =
      std::string_view(text).substr(std::min(text.find_first_not_of('0'), text.size()));
  return !number.empty() &&
         (number.size() < kMaxSeed.size() || (number.size() == kMaxSeed.size() && number <= kMaxSeed));
}

bool IsTable(const std::string& text) {
  const std::string word = CLI::detail::to_lower(text);
  return word == "selection" || word == "cps";
}

bool IsWhen(const std::string& text) {
  return text == "auto" || text == "always" || text == "never";
}

// One word of a command: what would end it or begin another thing can't stand in it.
bool IsWord(const std::string& text) {
  return text.find_first_of(" \t\r\n\f\v,=/()'\"") == std::string::npos;
}

void AddHelp(CLI::App& app, const HelpPage& page) {
  app.set_help_flag("-h,--help", "Show this page")->group(kHelpGroup);
  app.set_version_flag("--version", "svselect " SV_VERSION, "Show the version")->group(kHelpGroup);
  app.allow_extras();  // UnexpectedWords() tells them
  SetHelpPage(app, page);
}

void AddFrame(CLI::App& app, FrameOptions& frame) {
  OptionGroup group(app, kFrameGroup);
  group.Add("--data", frame.path, "FRAME",
            "Data file to draw from: .sav, .parquet, .csv, .tsv, .json or .ndjson");
  group.Add("--sql", frame.sql, "QUERY", "Query whose rows are drawn from, in place of --data");
  group.AddList(
      "--sort", frame.sort, "A,B",
      "Variables to order the cases by. Ties keep their order, missing values come first. The order "
      "matters to systematic and sequential selection");
  group.Add("--schema", frame.schema, "FILE", "Table Schema of the frame, in place of the one beside it");
  group.Add("--weight", frame.weight, "VAR", "Variable that weights the cases");
  group.AddList("--split", frame.split, "A,B", "Variables whose changes split the cases into groups");
}

void AddCommandParts(CLI::App& app, CommandOptions& parts) {
  OptionGroup group(app, kPartsGroup);
  const CLI::Validator isWord = Allowed("a name", IsWord);
  group.Add("--plan", parts.plan, "PLAN", "Sampling plan, an XML file");
  group.AddList("--stages", parts.stages, "1,2", "Stages to draw. Without it, all")
      ->check(Allowed("a stage: 1, 2 or 3", IsStage));
  group
      .Add("--seed", parts.seed, "N",
           "Seed of the random numbers, 1 to 2147483647, or random. Without it, random")
      ->check(Allowed("a seed: a whole number from 1 to 2147483647, or random", IsSeed));
  group.AddFlag("--include-user-missing", parts.includeUserMissing,
                "User-missing values of strata and cluster variables are categories of their own");
  group.AddFlag("--rename", parts.rename,
                "Variables of the frame that have the name of a new one give way to it");
  group.AddFlag("--presorted", parts.presorted, "The cases are sorted by the design variables");
  group.Add("--sample", parts.sample, "FILE", "Data file for the sample: .sav, .parquet, .csv or .tsv");
  group.AddList("--keep", parts.keep, "A,B", "Variables to copy to the sample. Without it, all")
      ->check(isWord);
  group.AddList("--drop", parts.drop, "A,B", "Variables not to copy to the sample, or ALL")->check(isWord);
  group.Add("--joint", parts.joint, "FILE", "Data file for the joint inclusion probabilities");
  group.Add("--rule", parts.rule, "FILE", "Text file that states the sample as a rule");
  group
      .AddList("--print", parts.print, "WORDS",
               "Tables to show: selection (what was asked for and drawn), cps (cases by stage)")
      ->check(Allowed("a table: selection or cps", IsTable));
}

void AddWholeCommand(CLI::App& app, RunOptions& options) {
  OptionGroup group(app, kWholeGroup);
  group.Add("--command", options.command, "TEXT", "The SVSELECT command");
  group.Add("--command-file", options.commandFile, "FILE", "File that holds the SVSELECT command");
  group.AddFlag("--explain", options.explain, "Show the command and do nothing else");
}

void AddSession(CLI::App& app, RunOptions& options) {
  OptionGroup group(app, kSessionGroup);
  const auto isInexact = [](const SVMethod& method) { return method.statedProbs != StatedProbs::kMet; };
  group.AddFlag(
      "--exact-design", options.settings.exactDesign,
      "Draw by " + MethodNames(isInexact, ", ", " and ") + " with exactly the probabilities that are stated");
  group
      .Add("--threads", options.settings.threads, "N",
           "Threads. Without it, as many as the machine has processors. The sample is the same with any")
      ->check(Allowed("a number of threads: 1 to 1024", IsThreads));
  group.AddRepeated("--report", options.reports, "FILE",
                    "File for the report, .html, .json or .txt. May be given several times");
  group.Add("--save", options.save, "FILE",
            "Data file for the frame; without --sample with the new variables");
  group
      .Add("--progress", options.progress, "WHEN",
           "Show on standard error how far the run is: auto (a long run on a terminal), always or never")
      ->check(Allowed("a time to show progress: auto, always or never", IsWhen));
  group.AddFlag("--quiet", options.quiet, "No tables and notes on standard output");
}

// The first option given that is a part of the command; null when there is none.
const CLI::Option* FirstPart(const CLI::App& app) {
  const std::vector<const CLI::Option*> given = app.get_options(
      [](const CLI::Option* option) { return option->get_group() == kPartsGroup && option->count() > 0; });
  return given.empty() ? nullptr : given.front();
}

// What is wrong with the frame of a run. To explain a command takes none.
std::string FrameError(const RunOptions& options) {
  const FrameOptions& frame = options.frame;
  if (!frame.path.empty() && !frame.sql.empty()) return "--data and --sql exclude each other";
  if (frame.path.empty() && frame.sql.empty() && !options.explain) {
    return "a frame is needed: --data FRAME or --sql QUERY";
  }
  return "";
}

// What is wrong with the lists: each entry is given once, in whatever case.
std::string ListError(const RunOptions& options) {
  const std::pair<const char*, const std::vector<std::string>&> lists[] = {
      {"--sort", options.frame.sort}, {"--split", options.frame.split}, {"--stages", options.parts.stages},
      {"--keep", options.parts.keep}, {"--drop", options.parts.drop},   {"--print", options.parts.print},
  };
  for (const auto& [name, entries] : lists) {
    std::set<std::string> before;
    for (const std::string& entry : entries) {
      if (before.insert(GetUpperString(entry)).second) continue;
      return std::string(name) + ": " + QuotedWord(entry) + " is given twice";
    }
  }
  return "";
}

std::string UnexpectedOrNothing(const CLI::App& app, const std::string& path, const std::string& otherwise) {
  const std::string unexpected = UnexpectedWords(app);
  return unexpected.empty() && path.empty() ? otherwise : unexpected;
}

}  // namespace

void DescribeProgram(CLI::App& app) {
  AddHelp(app,
          {{"run --data FRAME --plan PLAN [--sample FILE] [OPTION]...", "plan PLAN [--data FRAME]",
            "describe FRAME"},
           "Draws a probability sample from the cases of a data file, by a sampling plan: an XML file that "
           "describes a design of up to three stages with strata, clusters, a method of selection and a "
           "size or rate for each.",
           kProgramAfter});
}

void DescribeRun(CLI::App& app, RunOptions& options) {
  AddFrame(app, options.frame);
  AddCommandParts(app, options.parts);
  AddWholeCommand(app, options);
  AddSession(app, options);
  AddHelp(app,
          {{"--data FRAME --plan PLAN [--sample FILE] [OPTION]...", "--data FRAME --command TEXT [OPTION]...",
            "--data FRAME --command-file FILE [OPTION]..."},
           "Reads the cases of the frame, draws by the plan, and writes the sample with its inclusion "
           "probabilities and weights. Tables and notes go to standard output, messages to standard error. "
           "The files of a run appear whole and together, or not at all. The seed, the plan and the order "
           "of the cases fix the sample.",
           kRunAfter});
}

void DescribePlan(CLI::App& app, PlanOptions& options) {
  app.add_option("PLAN", options.plan, "Sampling plan, an XML file")->group("ARGUMENTS");
  OptionGroup group(app, kFrameGroup);
  group.Add("--data", options.frame.path, "FRAME", "Data file to hold the variables of the plan against");
  group.Add("--schema", options.frame.schema, "FILE",
            "Table Schema of the frame, in place of the one beside it");
  AddHelp(app,
          {{"PLAN [--data FRAME [--schema FILE]]"},
           "Tells what the plan draws, stage by stage, or what is wrong with it. With a frame, tells which "
           "variables of the plan the frame hasn't got.",
           kPlanAfter});
}

void DescribeDescribe(CLI::App& app, FrameOptions& options) {
  app.add_option("FRAME", options.path, "Data file: .sav, .parquet, .csv, .tsv, .json or .ndjson")
      ->group("ARGUMENTS");
  OptionGroup group(app, kFrameGroup);
  group.Add("--schema", options.schema, "FILE", "Table Schema of the file, in place of the one beside it");
  AddHelp(app,
          {{"FRAME [--schema FILE]"},
           "Shows the variables of a data file as svselect sees them, with types, formats, levels, labels, "
           "value labels and missing values, its documents and its number of cases.",
           kDescribeAfter});
}

std::string UsageError(const CLI::App& app, const RunOptions& options) {
  if (std::string unexpected = UnexpectedWords(app); !unexpected.empty()) return unexpected;
  if (!options.command.empty() && !options.commandFile.empty()) {
    return "--command and --command-file exclude each other";
  }
  const bool isWhole = !options.command.empty() || !options.commandFile.empty();
  const CLI::Option* part = FirstPart(app);
  if (isWhole && part != nullptr) {
    const std::string whole = options.command.empty() ? "--command-file" : "--command";
    return part->get_name() + " is a part of the command; with " + whole + " write it there";
  }
  if (!isWhole && options.parts.plan.empty()) return "a plan is needed: --plan PLAN, or a whole --command";
  if (std::string error = FrameError(options); !error.empty()) return error;
  if (std::string error = ListError(options); !error.empty()) return error;
  if (options.parts.sample.empty() && !(options.parts.keep.empty() && options.parts.drop.empty())) {
    return std::string(options.parts.keep.empty() ? "--drop" : "--keep") + " needs --sample FILE";
  }
  for (const std::string& report : options.reports) {
    if (KindOfReport(report) == ReportKind::kUnknown) {
      return "--report " + QuotedWord(report) + ": the name must end in .html, .json or .txt";
    }
  }
  return "";
}

std::string UsageError(const CLI::App& app, const PlanOptions& options) {
  std::string error = UnexpectedOrNothing(app, options.plan, "a plan is needed: svselect plan PLAN");
  const bool isLost = options.frame.path.empty() && !options.frame.schema.empty();
  return error.empty() && isLost ? "--schema needs --data FRAME" : error;
}

std::string UsageError(const CLI::App& app, const FrameOptions& options) {
  return UnexpectedOrNothing(app, options.path, "a data file is needed: svselect describe FRAME");
}
