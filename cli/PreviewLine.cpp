#include "cli/PreviewLine.h"

#include "cli/OptionGroup.h"
#include "cli/UsageWords.h"
#include "host/model/Values.h"
#include "host/text/NearestWord.h"
#include "session/PreviewPlan.h"
#include "session/RunReport.h"

namespace {

const char* const kPreviewAfter = R"(EXIT STATUS
  0 when a run can draw the sample; 1 when it fails whatever it draws, or a file
  can't be used; 2 when svselect was called wrongly. A line tells of a run that
  fails with some draws and not with others.

EXAMPLES
    svselect preview plan.json --data schools.csv
    svselect preview plan.json --data schools.csv --exact-design \
        --cost 1000,250,40 --report preview.html
)";

}  // namespace

void DescribePreview(CLI::App& app, PreviewOptions& options) {
  app.add_option("PLAN", options.plan, "Sampling plan, a JSON or XML file")->group(kArgumentsGroup);
  OptionGroup frame(app, kFrameGroup);
  frame.Add("--data", options.frame.path, "FRAME", "Data file that the run is going to draw from");
  frame.Add("--sql", options.frame.sql, "QUERY", "Query whose rows are the cases, instead of --data");
  frame.Add("--schema", options.frame.schema, "FILE",
            "Table Schema of the frame, instead of the one beside it");
  OptionGroup draw(app, "THE DRAW, AS THE RUN HAS IT");
  draw.AddFlag("--exact-design", options.settings.exactDesign,
               "Draw with exactly the probabilities that are stated");
  draw.AddFlag("--strict", options.settings.strict,
               "Make an error of everything that would make a probability or weight wrong or unclear");
  draw.AddFlag("--include-user-missing", options.includeUserMissing,
               "Treat user-missing values of strata and cluster variables as categories of their own");
  OptionGroup output(app, "THE OUTPUT");
  output.Add(
      "--cost", options.cost, "C0,C1,C2",
      "Also tell the cost that can be expected: C0 for the survey, C1 for each unit of the first stage, C2 "
      "for each case");
  output.AddFlag("--json", options.json, "Print the preview as JSON");
  output.AddRepeated("--report", options.reports, "FILE",
                     "File for the preview, .html, .json or .txt. May be given several times");
  AddHelp(app,
          {{"PLAN --data FRAME [OPTION]...", "PLAN --sql QUERY [OPTION]..."},
           "Tells what a run by the plan is going to do to the frame: what is asked for, possible and drawn "
           "in each stratum, certain units, probabilities and weights, the sample that can be expected over "
           "all stages, and whatever a run would remark. Reads the frame once, draws nothing and uses no "
           "random number.",
           kPreviewAfter});
}

bool ReadSurveyCost(const std::string& text, std::optional<SurveyCost>* cost) {
  if (text.empty()) return true;
  SurveyCost read;
  std::size_t begin = 0;
  for (double* const part : {&read.fixed, &read.unit, &read.each}) {
    const std::size_t end = part == &read.each ? text.size() : text.find(',', begin);
    if (end == std::string::npos || !ParseNumber(text.substr(begin, end - begin), part) || *part < 0.0)
      return false;
    begin = end + 1;
  }
  *cost = read;
  return true;
}

std::string UsageError(const CLI::App& app, const PreviewOptions& options) {
  std::string error = UnexpectedOrNothing(app, options.plan, "a plan is needed: svselect preview PLAN");
  if (!error.empty()) return error;
  const FrameOptions& frame = options.frame;
  if (!frame.path.empty() && !frame.sql.empty()) return "--data and --sql exclude each other";
  if (frame.path.empty() && frame.sql.empty()) return "a frame is needed: --data FRAME or --sql QUERY";
  std::optional<SurveyCost> cost;
  if (!ReadSurveyCost(options.cost, &cost))
    return "--cost " + QuotedWord(options.cost) + ": three numbers are needed, such as 1000,250,40";
  for (const std::string& report : options.reports) {
    const ReportKind kind = KindOfReport(report);
    if (kind == ReportKind::kUnknown || kind == ReportKind::kScript)
      return "--report " + QuotedWord(report) + ": the name must end in .html, .json or .txt";
  }
  return "";
}
