#include "report/SurveyPage.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "host/render/HtmlTable.h"
#include "host/render/HtmlText.h"
#include "host/render/TablePrinter.h"
#include "host/render/TextRenderer.h"
#include "host/text/DisplayText.h"
#include "host/text/ReadableNumber.h"
#include "report/Figures.h"
#include "report/FinalWeights.h"
#include "report/StageTables.h"

namespace {

constexpr double kSameSum = 1e-9;           // a relative difference that comes from rounding
constexpr std::size_t kMostOpenNames = 20;  // more clusters are listed in a box to be opened

// Says which cases were summed: the count of a case that was drawn several times depends on where the weights
// were read.
std::string WhichCases(const FinalWeights& weights) {
  const std::string variable = "The variable <strong>" + HtmlText(weights.variable) + "</strong> ";
  if (weights.file.empty())
    return variable + "of the active file. The cases that have a weight count, each once.";
  return variable + "of the sample file " + HtmlText(weights.file) +
         ". Every case there counts, so a case that was written more than once counts as often.";
}

using TakeRow = std::function<void(const char* label, const std::string& number)>;

// How far the sum of the weights is from what it estimates.
void WriteDistance(double sum, double cases, const TakeRow& row) {
  const double difference = std::abs(sum - cases) <= kSameSum * cases ? 0.0 : sum - cases;
  row("Valid cases of the frame (N)", ReadableNumber(cases));
  row("Sum of the weights less N", ReadableNumber(difference));
  if (cases > 0.0) row("The same in percent of N", ReadableNumber(100.0 * difference / cases, 3) + "%");
}

// The rows of the table of numbers.
void WriteNumbers(const FinalWeights& final, const TakeRow& row) {
  const WeightSummary& weights = final.summary;
  row("Cases", ReadableNumber(static_cast<double>(weights.count)));
  row("Sum of the weights", ReadableNumber(weights.sum));
  if (final.frameCases) WriteDistance(weights.sum, static_cast<double>(*final.frameCases), row);
  row("Mean", ReadableNumber(weights.mean));
  row("Smallest", ReadableNumber(weights.smallest));
  row("Largest", ReadableNumber(weights.largest));
  row("Coefficient of variation", ReadableNumber(weights.cv));
  row("Design effect due to unequal weighting (1 + CV\u00B2)", ReadableNumber(weights.designEffect));
}

// The body of the section: the picture, and the same facts as a table of numbers.
void WriteWeights(const FinalWeights& final, std::ostream& out) {
  const WeightSummary& weights = final.summary;
  out << "<p>" << WhichCases(final) << "</p>\n<figure>\n";
  WriteWeightFigure(weights, "weights-figure", out);
  out << "<figcaption>" << (weights.bins.empty() ? "All weights are the same." : "Cases by their weight.")
      << "</figcaption>\n</figure>\n"
         "<div class=\"scroll keep\" role=\"region\" tabindex=\"0\" aria-labelledby=\"weights-table\">\n"
         "<table>\n<caption id=\"weights-table\">The weights in numbers</caption>\n<tbody>\n";
  WriteNumbers(final, [&](const char* label, const std::string& number) {
    out << "<tr><th scope=\"row\">" << label << "</th><td class=\"number\">" << number << "</td></tr>\n";
  });
  out << "</tbody>\n</table>\n</div>\n";
}

void WriteClusters(const StageReview& stage, std::ostream& out) {
  const std::string clusters = HtmlText(DrawnClusters(stage));
  if (clusters.empty()) return;
  if (stage.clusters.size() <= kMostOpenNames) {
    out << "<p>" << clusters << "</p>\n";
  } else {
    out << "<details>\n<summary>" << stage.clusterCount << " clusters were drawn</summary>\n<p>" << clusters
        << "</p>\n</details>\n";
  }
}

// The identifiers are stage-table-1 and so on, by position.
void WriteStages(const OutputDocument& document, const FinalWeights& final, std::ostream& out) {
  out << "<p>" << kAboutStageTables << "</p>\n";
  const std::vector<OutputTable> tables = StageTables(document, final);
  for (std::size_t i = 0; i < tables.size(); ++i) {
    WriteHtmlTable(tables[i], "stage-table-" + std::to_string(i + 1), out);
    WriteClusters(final.stages[i], out);
  }
}

void PrintWrapped(const std::string& text, std::ostream& out) {
  for (const std::string& line : WrapText(PrintableText(text), kDefaultTextWidth)) out << line << '\n';
}

}  // namespace

// The pictures are made when the page asks for them, table by table: none is kept in memory.
HtmlAdditions SurveyAdditions(const OutputDocument& document, const FinalWeights* weights) {
  HtmlAdditions additions;
  if (weights != nullptr && weights->summary.count > 0) {
    if (!weights->stages.empty()) {
      additions.sections.push_back({"stages", "Stages and strata", [&document, weights](std::ostream& out) {
                                      WriteStages(document, *weights, out);
                                    }});
    }
    additions.sections.push_back(
        {"weights", "Final weights", [weights](std::ostream& out) { WriteWeights(*weights, out); }});
  }
  additions.figureBefore = WriteStageFigure;
  return additions;
}

void WriteSurveyText(const OutputDocument& document, const FinalWeights* weights, std::ostream& out) {
  if (weights == nullptr || weights->summary.count == 0) return;
  if (!weights->stages.empty()) {
    out << "\nStages and strata\n\n";
    PrintWrapped(kAboutStageTables, out);
  }
  const std::vector<OutputTable> tables = StageTables(document, *weights);
  for (std::size_t i = 0; i < tables.size(); ++i) {
    out << '\n';
    TablePrinter(tables[i], kDefaultTextWidth, out).Print();
    const std::string clusters = DrawnClusters(weights->stages[i]);
    if (clusters.empty()) continue;
    out << '\n';
    PrintWrapped(clusters, out);
  }
  out << "\nFinal weights\n\n";
  std::vector<std::pair<std::string, std::string>> rows;
  int width = 0;
  WriteNumbers(*weights, [&](const char* label, const std::string& number) {
    rows.emplace_back(label, number);
    width = std::max(width, DisplayWidth(label));
  });
  for (const auto& [label, number] : rows)
    out << label << std::string(static_cast<std::size_t>(width + 2 - DisplayWidth(label)), ' ') << number
        << '\n';
}
