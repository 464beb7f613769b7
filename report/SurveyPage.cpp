#include "report/SurveyPage.h"

#include <ostream>
#include <string>

#include "host/render/HtmlText.h"
#include "host/text/ReadableNumber.h"
#include "report/Figures.h"
#include "report/FinalWeights.h"

namespace {

// Says which cases were summed: the count of a case that was drawn several times depends on where the weights
// were read.
std::string WhichCases(const FinalWeights& weights) {
  const std::string variable = "The variable <strong>" + HtmlText(weights.variable) + "</strong> ";
  if (weights.file.empty())
    return variable + "of the active file. The cases that have a weight count, each once.";
  return variable + "of the sample file " + HtmlText(weights.file) +
         ". Every case there counts, so a case that was written more than once counts as often.";
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
  const auto row = [&](const char* label, double number) {
    out << "<tr><th scope=\"row\">" << label << "</th><td class=\"number\">" << ReadableNumber(number)
        << "</td></tr>\n";
  };
  row("Cases", static_cast<double>(weights.count));
  row("Sum of the weights", weights.sum);
  row("Mean", weights.mean);
  row("Smallest", weights.smallest);
  row("Largest", weights.largest);
  row("Coefficient of variation", weights.cv);
  row("Design effect due to unequal weighting (1 + CV\u00B2)", weights.designEffect);
  out << "</tbody>\n</table>\n</div>\n";
}

}  // namespace

// The pictures are made when the page asks for them, table by table: none is kept in memory.
HtmlAdditions SurveyAdditions(const FinalWeights* weights) {
  HtmlAdditions additions;
  if (weights != nullptr && weights->summary.count > 0) {
    additions.sections.push_back(
        {"weights", "Final weights", [weights](std::ostream& out) { WriteWeights(*weights, out); }});
  }
  additions.figureBefore = WriteStageFigure;
  return additions;
}
