#include "cli/CommandLine.h"

#include <CLI/App.hpp>
#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <utility>

#include "backend/svcommon/design/MethodTable.h"
#include "cli/OptionGroup.h"
#include "cli/UsageWords.h"
#include "host/text/NearestWord.h"
#include "host/text/VariableNames.h"
#include "session/ConvertPlan.h"
#include "session/RunReport.h"

// How a command line is checked, from the single word to the whole:
//
//   1. Before parsing, OverlookedWords() finds words that the parser would accept in a sense not meant.
//   2. While parsing, each value passes the validators of its option: WhyNoValue() for all, then one that
//      knows what the option takes. They return the message, or an empty text. A value that is wrong
//      whatever the other options are is refused here, so that no text can smuggle a further keyword into
//      the command that is made of the parts.
//   3. After parsing, UnexpectedWords() reports words that belong to no option; then UsageError() looks at
//      the options together.
//
// Only the form is checked. Whether a file can be read or a variable exists is for the run to find out: it
// knows more, and its messages are the same for a command that wasn't made of options.

namespace {

constexpr int kMaxThreads = 1024;  // far above any use; keeps a typo from asking for millions
constexpr std::string_view kMaxSeed = "2147483647";  // 2^31 - 1, the largest that the command takes

// Headings of the help page. FirstPart() recognises the parts of the command by their group.

const char* const kPartsGroup = "WHAT TO DRAW AND WRITE: THE COMMAND BY ITS PARTS";
const char* const kWholeGroup = "THE COMMAND AS A WHOLE";
const char* const kSessionGroup = "THE RUN";
const char* const kConvertGroup = "ANOTHER FORM OF THE PLAN";

// The sections after the options. tools/check-docs doesn't look at them: if you change an option, check
// them and docs/svselect.1 by eye.
const char* const kRunAfter = R"(EXIT STATUS
  0    the run ended without an error
  1    an error was raised, or a file that was named can't be used
  2    svselect was called wrongly
  130  the run was interrupted

EXAMPLES
  Draw by a plan, and keep the sample and the joint probabilities:
    svselect run --data schools.csv --plan plan.json --seed 4711 \
        --sample sample.csv --joint joint.csv
  Draw from the rows of a query, in the order of two variables:
    svselect run --sql "SELECT * FROM 'schools.csv' WHERE type = 'H'" \
        --sort county,district --plan plan.json --sample sample.parquet
  Show the command that the options make:
    svselect run --plan plan.json --seed 4711 --sample sample.csv --explain
)";

const char* const kPlanAfter = R"(EXIT STATUS
  0 when the plan can be read and the frame has its variables, 1 when not,
  2 when svselect was called wrongly.

EXAMPLES
    svselect plan plan.json
    svselect plan plan.json --data schools.csv
    svselect plan old.xml --to plan.json
)";

const char* const kDescribeAfter = R"(EXIT STATUS
  0 when the file can be read, 1 when not, 2 when svselect was called wrongly.

EXAMPLES
    svselect describe schools.csv
    svselect describe --quick sample.parquet
    svselect describe --sql "SELECT * FROM 'schools.csv' WHERE type = 'H'"
)";

const char* const kProgramAfter = R"(EXAMPLES
  Describe a data file and a plan, and draw a sample by the plan:
    svselect describe schools.csv
    svselect plan plan.json --data schools.csv
    svselect run --data schools.csv --plan plan.json --sample sample.csv

  svselect run --help lists all options of a run; so does svselect(1).
)";

bool IsWholeNumber(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// At most as many digits as fit an int, so that std::stoi() can't throw.
bool IsThreads(const std::string& text) {
  constexpr std::size_t kMostDigits = 4;
  if (!IsWholeNumber(text) || text.size() > kMostDigits) return false;
  const int threads = std::stoi(text);
  return threads >= 1 && threads <= kMaxThreads;
}

// A design has at most three stages.
bool IsStage(const std::string& text) {
  return text == "1" || text == "2" || text == "3";
}

// Compared as text: a number of any length must be refused without overflow. Leading zeros are fine.
bool IsSeed(const std::string& text) {
  if (!IsWholeNumber(text)) return CLI::detail::to_lower(text) == "random";
  const std::string_view number =
      std::string_view(text).substr(std::min(text.find_first_not_of('0'), text.size()));
  return !number.empty() &&
         (number.size() < kMaxSeed.size() || (number.size() == kMaxSeed.size() && number <= kMaxSeed));
}

// Keywords of the command may be in either case, and so may be their options.
bool IsTable(const std::string& text) {
  const std::string word = CLI::detail::to_lower(text);
  return word == "selection" || word == "cps";
}

bool IsWhen(const std::string& text) {
  return text == "auto" || text == "always" || text == "never";
}

// Whether a text can be the name of a variable in a command, which quotes it where it must.
bool IsName(const std::string& text) {
  return std::none_of(text.begin(), text.end(), [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; });
}

// The frame of a run. `plan` and `describe` have options of their own for theirs: no order, and no query of a
// plan.
void AddFrame(CLI::App& app, FrameOptions& frame) {
  OptionGroup group(app, kFrameGroup);
  group.Add("--data", frame.path, "FRAME",
            "Data file to draw from: .sav, .parquet, .csv, .tsv, .json or .ndjson");
  group.Add("--sql", frame.sql, "QUERY", "Query whose rows are the cases, instead of --data");
  group.AddList("--sort", frame.sort, "A,B",
                "Variables to order the cases by, in descending order as -A. Ties keep their order, missing "
                "values come "
                "first. The order matters to systematic and sequential selection");
  group.AddFlag("--serpentine", frame.serpentine,
                "Reverse every second run of --sort, so that neighbours are alike throughout");
  group.Add("--schema", frame.schema, "FILE", "Table Schema of the frame, instead of the one beside it");
  group.Add("--weight", frame.weight, "VAR", "Variable that weights the cases; the draw ignores it");
  group.AddList("--split", frame.split, "A,B",
                "Variables whose changes split the cases into groups; the draw ignores them");
}

// The options that CommandText() makes a command of. What each may hold is checked here as far as a wrong
// value could change the meaning of the command; file names may hold anything, since they are quoted there.
void AddCommandParts(CLI::App& app, CommandParts& parts) {
  OptionGroup group(app, kPartsGroup);
  const CLI::Validator isName = Allowed("a name", IsName);
  group.Add("--plan", parts.plan, "PLAN",
            "Sampling plan, a JSON or XML file. A draw by a JSON plan is strict");
  group.AddList("--stages", parts.stages, "1,2", "Stages to draw; all if not given")
      ->check(Allowed("a stage: 1, 2 or 3", IsStage));
  group
      .Add("--seed", parts.seed, "N",
           "Seed of the random numbers, 1 to 2147483647, or random, which is the default")
      ->check(Allowed("a seed: a whole number from 1 to 2147483647, or random", IsSeed));
  group.AddFlag("--include-user-missing", parts.includeUserMissing,
                "Treat user-missing values of strata and cluster variables as categories of their own");
  group.AddFlag("--rename", parts.rename,
                "Rename variables of the frame that have the name of a new variable");
  group.AddFlag("--presorted", parts.presorted,
                "Says that the cases are sorted by the design variables. Accepted, but without effect: the "
                "draw is the same without it");
  group.Add("--sample", parts.sample, "FILE", "Data file for the sample: .sav, .parquet, .csv or .tsv");
  group.AddList("--keep", parts.keep, "A,B", "Variables to copy to the sample; all if not given")
      ->check(isName);
  group.AddList("--drop", parts.drop, "A,B", "Variables not to copy to the sample, or ALL")->check(isName);
  group.Add("--joint", parts.joint, "FILE", "Data file for the joint inclusion probabilities");
  group.Add("--rule", parts.rule, "FILE", "Text file for a rule that describes the sample");
  group
      .AddList("--print", parts.print, "WORDS",
               "Tables to show: selection (units requested and drawn by stratum), cps (numbers of valid, "
               "invalid and all cases)")
      ->check(Allowed("a table: selection or cps", IsTable));
}

void AddWholeCommand(CLI::App& app, RunOptions& options) {
  OptionGroup group(app, kWholeGroup);
  group.Add("--command", options.command, "TEXT", "The SVSELECT command");
  group.Add("--command-file", options.commandFile, "FILE", "File that holds the SVSELECT command");
  group.AddFlag("--explain", options.explain, "Show the command and do nothing else");
}

// Everything about a run that isn't in a command: how to draw, what to write beside its files, what to show.
void AddSession(CLI::App& app, RunOptions& options) {
  OptionGroup group(app, kSessionGroup);
  const auto isInexact = [](const SVMethod& method) { return method.statedProbs != StatedProbs::kMet; };
  group.AddFlag(
      "--exact-design", options.settings.exactDesign,
      "Draw by " + MethodNames(isInexact, ", ", " and ") + " with exactly the probabilities that are stated");
  group.AddFlag(
      "--strict", options.settings.strict,
      "Make an error of everything that would make a probability or weight wrong or unclear, and draw "
      "nothing. Without it the draw goes on and a remark tells what was found");
  group
      .Add("--threads", options.settings.threads, "N",
           "Number of threads; if not given, the number of processors. The sample is the same with any")
      ->check(Allowed("a number of threads: 1 to 1024", IsThreads));
  group.AddRepeated("--report", options.reports, "FILE",
                    "File for the report, .html, .json or .txt; or .R, for R code that loads the sample. May "
                    "be given several "
                    "times");
  group.Add("--save", options.save, "FILE",
            "Data file for the frame; if there is no --sample, with the new variables");
  group
      .Add("--progress", options.progress, "WHEN",
           "Show progress on standard error: auto (for a long run on a terminal), always or never")
      ->check(Allowed("a time to show progress: auto, always or never", IsWhen));
  group.AddFlag("--quiet", options.quiet, "Print no tables or notes on standard output");
}

// The first option on the command line that is a part of the command; null if there is none. A whole command
// excludes them: mixing both would make it unclear which of two values counts.
const CLI::Option* FirstPart(const CLI::App& app) {
  const std::vector<const CLI::Option*> given = app.get_options(
      [](const CLI::Option* option) { return option->get_group() == kPartsGroup && option->count() > 0; });
  return given.empty() ? nullptr : given.front();
}

// A run needs one frame; --explain needs none but must not be given two.
std::string FrameError(const RunOptions& options) {
  const FrameOptions& frame = options.frame;
  if (!frame.path.empty() && !frame.sql.empty()) return "--data and --sql exclude each other";
  if (frame.path.empty() && frame.sql.empty() && !options.explain) {
    return "a frame is needed: --data FRAME or --sql QUERY";
  }
  return "";
}

// Each entry of a list may be given once; names that differ only in case are the same.
std::string ListError(const RunOptions& options) {
  const std::pair<const char*, const std::vector<std::string>&> lists[] = {
      {"--sort", options.frame.sort}, {"--split", options.frame.split}, {"--stages", options.parts.stages},
      {"--keep", options.parts.keep}, {"--drop", options.parts.drop},   {"--print", options.parts.print},
  };
  for (const auto& [name, entries] : lists) {
    std::set<std::string> before;  // in upper case
    for (const std::string& entry : entries) {
      if (before.insert(GetUpperString(entry)).second) continue;
      return std::string(name) + ": " + QuotedWord(entry) + " is given twice";
    }
  }
  return "";
}

}  // namespace

void DescribeProgram(CLI::App& app) {
  AddHelp(app, {{"run --data FRAME --plan PLAN [--sample FILE] [OPTION]...", "plan PLAN [--data FRAME]",
                 "preview PLAN --data FRAME [OPTION]...", "describe FRAME", "describe --sql QUERY",
                 "design --stage WORDS [OPTION]...", "size proportion|mean|total [OPTION]..."},
                "Draws a probability sample from the cases of a data file, by a sampling plan: a file that "
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
  app.add_option("PLAN", options.plan, "Sampling plan, a JSON or XML file")->group(kArgumentsGroup);
  OptionGroup group(app, kFrameGroup);
  group.Add("--data", options.frame.path, "FRAME", "Data file to check the plan against");
  group.Add("--schema", options.frame.schema, "FILE",
            "Table Schema of the frame, instead of the one beside it");
  OptionGroup(app, kConvertGroup)
      .Add("--to", options.to, "FILE",
           "File to write the plan to: as JSON if its name ends in .json, as XML if in .xml");
  AddHelp(
      app,
      {{"PLAN [--data FRAME [--schema FILE]]", "PLAN --to FILE"},
       "Describes what the plan draws, stage by stage, or reports what is wrong with it. With a frame, "
       "also checks whether the plan can be drawn from it: variables, types, tables, output names and the "
       "first stage; writes nothing. With --to, writes the same plan to another file, in the form of that "
       "file's name.",
       kPlanAfter});
}

void DescribeDescribe(CLI::App& app, DescribeOptions& options) {
  app.add_option("FRAME", options.frame.path, "Data file: .sav, .parquet, .csv, .tsv, .json or .ndjson")
      ->group(kArgumentsGroup);
  OptionGroup group(app, kFrameGroup);
  group.Add("--sql", options.frame.sql, "QUERY", "Query whose rows are the cases, instead of FRAME");
  group.Add("--schema", options.frame.schema, "FILE",
            "Table Schema of the file, instead of the one beside it");
  group.AddFlag("--quick", options.quick,
                "Leave out the values of each variable, for which all cases are read");
  AddHelp(app,
          {{"FRAME [--schema FILE] [--quick]", "--sql QUERY [--schema FILE] [--quick]"},
           "Shows the variables of a data file as svselect sees them, with types, formats, levels, labels, "
           "value labels and missing values, its documents and its number of cases; and for each variable "
           "its range or most frequent values, and how many cases have none.",
           kDescribeAfter});
}

// The order is that of likely causes: an unknown word first, since options may be missing because of it.
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
      return "--report " + QuotedWord(report) + ": the name must end in .html, .json, .txt or .R";
    }
  }
  return "";
}

std::string UsageError(const CLI::App& app, const PlanOptions& options) {
  std::string error = UnexpectedOrNothing(app, options.plan, "a plan is needed: svselect plan PLAN");
  // Without a frame the schema would be ignored without a word.
  const bool isLost = options.frame.path.empty() && !options.frame.schema.empty();
  if (!error.empty() || options.to.empty()) {
    return error.empty() && isLost ? "--schema needs --data FRAME" : error;
  }
  if (FormOfPlan(options.to) == PlanForm::kUnknown)
    return "--to " + QuotedWord(options.to) + ": the name must end in .json or .xml";
  return options.frame.path.empty() ? "" : "--to and --data exclude each other";
}

std::string UsageError(const CLI::App& app, const DescribeOptions& options) {
  const FrameOptions& frame = options.frame;
  const std::string error =
      UnexpectedOrNothing(app, frame.path + frame.sql, "a data file is needed: svselect describe FRAME");
  const bool areBoth = !frame.path.empty() && !frame.sql.empty();
  return error.empty() && areBoth ? "FRAME and --sql exclude each other" : error;
}
