#include "cli/PlanningLine.h"

#include "cli/OptionGroup.h"
#include "cli/UsageWords.h"
#include "design/SampleSize.h"
#include "host/text/NearestWord.h"
#include "session/ConvertPlan.h"

namespace {

const char* const kOutputGroup = "THE OUTPUT";

const char* const kDesignAfter = R"(STAGES
  The words of --stage have the form KEY=VALUE, with blanks between them. Lists
  have commas. What has blanks, commas or colons goes in single quotes.
    strata, clusters      variables
    method                as in a plan, such as pps_sampford; simple_wor if not
                          given
    n, rate               a number, a variable, a table as E:50,M:30, or a .csv
                          file with a column for each stratum variable and one
                          for the numbers
    by                    the variables of that table, if not the strata
    min, max              bounds of the number of units that a rate gives
    size                  cases, or a variable: the measure of size
    size_min, size_max    bounds of the measure of size
    write                 output variables, as probability:p1,weight:w1; also
                          cumulative_weight, population, sample_size, rate,
                          index
    label                 a name for the stage

ALLOCATION
  The words of --allocate, for the strata of the first stage:
    n                     the size of the sample
    rule                  equal, proportional, neyman, optimal (with costs), or
                          power
    variable              numeric variable of the frame, of which the rules use
                          standard deviations and totals
    sd, cost, min, max    a number, or a .csv file as above
    units                 a .csv file with the units of each stratum, without
                          --data
    exponent              of power, as 0.5
    size, cv              for power: a number, or a .csv file as above
    by                    the order of the columns in these files, if not that
                          of the strata

EXIT STATUS
  0 when there is a plan, 1 when not, 2 when svselect was called wrongly.

EXAMPLES
  Four counties by size, then schools by type:
    svselect design \
        --stage "clusters=county method=pps_sampford n=4 size=cases" \
        --stage "strata=type rate=E:0.05,M:0.1,H:0.2 min=2" \
        --weight w --out plan.json
  500 schools, allocated for the total of enrolment:
    svselect design --data schools.csv --stage "strata=type" --weight w \
        --allocate "n=500 rule=neyman variable=enrolment" --out plan.json
)";

const char* const kSizeAfter = R"(EXIT STATUS
  0 when there is an answer, 1 when no sample is large enough, 2 when svselect
  was called wrongly.

EXAMPLES
  A proportion within 3 percentage points; with what is known of the survey:
    svselect size proportion --margin 3%
    svselect size proportion --margin 3% --expected 20% --population 6194 \
        --deff 1.5 --response 80%
  A mean within 10 % of its value, and a total with a coefficient of variation
  of 2 %:
    svselect size mean --expected 19 --sd 9.25 --margin 10% --population 430
    svselect size total --expected 3800000 --sd 420 --cv 2% --population 6194
)";

}  // namespace

void DescribeDesign(CLI::App& app, DesignOptions& options) {
  OptionGroup plan(app, "THE PLAN");
  plan.AddRepeated("--stage", options.stages, "WORDS",
                   "A stage, in words; see STAGES. Given once for each stage");
  plan.Add("--weight", options.weight, "NAME", "Variable for the final sampling weight");
  plan.Add("--previous-weight", options.previousWeight, "VAR",
           "Weight of an earlier sampling, whose sample is the frame");
  plan.Add("--title", options.title, "TEXT", "Title of the plan");
  plan.Add("--allocate", options.allocate, "WORDS",
           "Sizes for the strata of the first stage, in words; see ALLOCATION");
  OptionGroup frame(app, kFrameGroup);
  frame.Add("--data", options.frame.path, "FRAME",
            "Data file that the plan is for: names are checked, and strata are counted for --allocate");
  frame.Add("--sql", options.frame.sql, "QUERY", "Query whose rows are the cases, instead of --data");
  frame.Add("--schema", options.frame.schema, "FILE",
            "Table Schema of the frame, instead of the one beside it");
  OptionGroup output(app, kOutputGroup);
  output.Add("--out", options.out, "FILE",
             "File for the plan: JSON if its name ends in .json, XML if in .xml. If not given, the plan is "
             "printed as JSON");
  AddHelp(app, {{"--stage WORDS... --weight NAME [--out FILE] [OPTION]...",
                 "--data FRAME --stage WORDS... --allocate WORDS --weight NAME"},
                "Makes a sampling plan from options. With a frame, checks its names against the dictionary, "
                "and allocates a sample over the strata of the first stage.",
                kDesignAfter});
}

void DescribeSize(CLI::App& app, SizeOptions& options) {
  app.add_option("TARGET", options.target, "What is estimated: proportion, mean or total")
      ->group(kArgumentsGroup);
  OptionGroup precision(app, "THE PRECISION");
  precision.Add("--margin", options.margin, "D",
                "Margin of error, half the width of the confidence interval: a number in the unit of what is "
                "estimated; for a proportion also percentage points as 3%, for a mean or total also a share "
                "of --expected as 10%");
  precision.Add("--cv", options.cv, "C",
                "Coefficient of variation of the estimate, as 5%, instead of --margin");
  precision.Add("--confidence", options.confidence, "L",
                "Level of the confidence interval; 95% if not given");
  OptionGroup population(app, "THE POPULATION");
  population.Add("--expected", options.expected, "X",
                 "The proportion, mean or total that is expected; for a proportion 50% if not given, which "
                 "asks for the most units");
  population.Add("--sd", options.deviation, "S", "Standard deviation between units, for a mean or total");
  population.Add("--population", options.population, "N",
                 "Number of units in the population, for the finite population correction");
  OptionGroup survey(app, "THE SURVEY");
  survey.Add("--deff", options.designEffect, "DEFF",
             "Design effect: the variance over that of a simple random sample of the same size");
  survey.Add("--response", options.responseRate, "R", "Share of the units drawn that answer, as 80%");
  OptionGroup output(app, kOutputGroup);
  output.AddFlag("--json", options.json, "Print the answer as JSON");
  AddHelp(app, {{"proportion|mean|total {--margin D | --cv C} [OPTION]..."},
                "Tells how many units to draw, so that a proportion, mean or total is estimated with the "
                "precision that is wanted: by a simple random sample, with a design effect, from a finite "
                "population, and with some who don't answer. Reads and writes no file.",
                kSizeAfter});
}

std::string UsageError(const CLI::App& app, const SizeOptions& options) {
  std::string error =
      UnexpectedOrNothing(app, options.target, "what is estimated is needed: proportion, mean or total");
  SizeQuestion question;
  return error.empty() ? ReadSizeQuestion(options, &question) : error;
}

std::string UsageError(const CLI::App& app, const DesignOptions& options) {
  if (std::string unexpected = UnexpectedWords(app); !unexpected.empty()) return unexpected;
  if (options.stages.empty()) return "a stage is needed: --stage WORDS";
  if (options.weight.empty()) return "a name for the final sampling weight is needed: --weight NAME";
  if (!options.frame.path.empty() && !options.frame.sql.empty()) return "--data and --sql exclude each other";
  if (options.frame.path.empty() && !options.frame.schema.empty()) return "--schema needs --data FRAME";
  if (!options.out.empty() && FormOfPlan(options.out) == PlanForm::kUnknown)
    return "--out " + QuotedWord(options.out) + ": the name must end in .json or .xml";
  return "";
}
