#include "cli/PlanningLine.h"

#include "cli/OptionGroup.h"
#include "cli/UsageWords.h"
#include "design/SampleSize.h"

namespace {

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
  OptionGroup output(app, "THE OUTPUT");
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
