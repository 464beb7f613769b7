#include "report/PreviewReport.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <ostream>
#include <utility>

#include "backend/svselect/results/DesignPreview.h"
#include "host/environment/HostErrors.h"
#include "host/numeric/Obs.h"
#include "host/output/OutputDocument.h"
#include "host/output/RunOutcome.h"
#include "host/render/HtmlReport.h"
#include "host/render/HtmlTable.h"
#include "host/render/TablePrinter.h"
#include "host/render/TextRenderer.h"
#include "host/text/DisplayText.h"
#include "report/Figures.h"

namespace {

using Json = nlohmann::ordered_json;

// Infinite numbers and those that aren't known are left out: JSON has neither.
void Add(Json* json, const char* name, double number) {
  if (number != MCMV::gMissingValue && std::isfinite(number)) (*json)[name] = number;
}

void Add(Json* json, const char* name, const MCSV::SVSRange& range) {
  if (!range.IsEmpty()) (*json)[name] = {{"min", range.least}, {"max", range.most}};
}

void Add(Json* json, const char* name, const std::vector<std::string>& units, std::int64_t count) {
  if (count > 0) (*json)[name] = {{"count", count}, {"units", units}};
}

Json JsonOf(const PreviewedStage& stage, const PreviewedStratum& stratum) {
  const MCSV::SVSStratumPreview& numbers = stratum.numbers;
  Json values = Json::object();
  for (std::size_t i = 0; i < stratum.values.size(); ++i)
    values[stage.variables[i]] = stratum.values[i].Text();
  Json json = {{"values", values},
               {"reached", numbers.reached},
               {"units", numbers.units},
               {"cases", numbers.cases},
               {"asked", numbers.asked},
               {"rate", numbers.askedRate},
               {"possible", numbers.possible},
               {"drawn", numbers.drawn}};
  Add(&json, "total_size", numbers.totalSize);
  Add(&json, "probability", numbers.probability);
  Add(&json, "weight", numbers.weight);
  if (numbers.attempts > 1.0) Add(&json, "attempts", numbers.attempts);
  if (numbers.withoutSize > 0) json["units_without_size"] = numbers.withoutSize;
  if (numbers.disagreeing > 0) json["cases_that_disagree"] = numbers.disagreeing;
  Add(&json, "certain", stratum.certain, numbers.certain.count);
  if (numbers.EndsRun()) json["fails"] = FailureInWords(numbers);
  Add(&json, "would_be_certain", stratum.tooLarge, numbers.tooLarge.count);
  return json;
}

Json JsonOf(const PreviewedStage& stage) {
  const MCSV::SVSStagePreview& numbers = stage.numbers;
  Json json = {{"stage", numbers.stage}};
  if (!stage.label.empty()) json["label"] = stage.label;
  json.update({{"method", stage.method},
               {"variables", stage.variables},
               {"clusters", stage.clusters},
               {"strata_count", numbers.strata},
               {"units", numbers.units},
               {"strata_with_one_unit", numbers.singleStrata},
               {"strata_that_draw_one", numbers.drawsOne},
               {"strata_that_fail", numbers.failing},
               {"expected_strata_that_fail", numbers.expectedFailing},
               {"expected_units", numbers.expectedUnits},
               {"expected_cases", numbers.expectedCases},
               {"expected_strata_that_draw_one", numbers.expectedSingles}});
  if (numbers.units > 0)
    json["sampling_fraction"] = numbers.expectedUnits / static_cast<double>(numbers.units);
  Add(&json, "probability", numbers.probability);
  Add(&json, "weight", numbers.weight);
  Json strata = Json::array();
  for (const PreviewedStratum& stratum : stage.strata) strata.push_back(JsonOf(stage, stratum));
  json["strata"] = std::move(strata);
  return json;
}

Json SampleJson(const DesignPreview& preview, const PreviewFigures& figures) {
  const MCSV::SVSSamplePreview& sample = preview.sample;
  Json json = {{"cases_of_frame", sample.cases}};
  if (preview.hasEarlierWeight) json["earlier_weights_of_frame"] = sample.frameSum;
  json.update({{"never_drawn", sample.neverDrawn},
               {"expected_cases", sample.expectedCases},
               {"expected_sum_of_weights", sample.expectedSum}});
  if (sample.cases > 0) json["sampling_fraction"] = sample.expectedCases / static_cast<double>(sample.cases);
  Json weight;
  Add(&weight, "min", sample.weight.least);
  if (figures.meanWeight > 0.0) weight["mean"] = figures.meanWeight;
  Add(&weight, "max", sample.weight.most);
  if (!weight.is_null()) json["weight"] = weight;
  if (figures.designEffect > 0.0) json["design_effect"] = figures.designEffect;
  if (figures.cost) json["cost"] = *figures.cost;
  return json;
}

}  // namespace

void WritePreviewJson(const PreviewReport& report, std::ostream& out) {
  Json json = {{"status", report.isGood ? "ok" : "error"}};
  Json messages = Json::array();
  for (const OutputMessage& message : report.document.MessagesByKind()) {
    messages.push_back(
        {{"level", message.level >= kErrorLevel ? "error" : "warning"}, {"text", message.text}});
  }
  json["messages"] = std::move(messages);
  json["remarks"] = report.remarks;
  if (report.preview.isComplete) {
    json["sample"] = SampleJson(report.preview, report.figures);
    Json stages = Json::array();
    for (const PreviewedStage& stage : report.preview.stages) stages.push_back(JsonOf(stage));
    json["stages"] = std::move(stages);
  }
  // Texts of a frame may be no UTF-8; what isn't is replaced.
  out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

std::string PreviewInWords(const PreviewReport& report) {
  if (!report.isGood) return "A run fails; nothing was drawn.";
  const std::vector<PreviewedStage>& stages = report.preview.stages;
  const bool mayFail = std::any_of(stages.begin(), stages.end(), [](const PreviewedStage& stage) {
    return stage.numbers.failing > 0 || stage.numbers.mayBeRefused;
  });
  return mayFail ? "A run fails with some draws, and not with others; nothing was drawn."
                 : "A run can draw this design; nothing was drawn.";
}

namespace {

// The identifiers are NAME-1 and so on.
void WriteTables(const std::vector<OutputTable>& tables, const std::string& name, std::ostream& out) {
  int number = 0;
  for (const OutputTable& table : tables) {
    const std::string id = name + "-" + std::to_string(++number);
    WriteStageFigure(table, id + "-figure", out);
    WriteHtmlTable(table, id, out);
  }
}

void WriteWeights(const WeightSummary& weights, bool hasEarlier, std::ostream& out) {
  out << "<figure>\n";
  WriteWeightFigure(weights, "weights-figure", out);
  out << "<figcaption>Cases that can be expected by their "
      << (hasEarlier ? "weight by this design, without that of the earlier sampling." : "final weight.")
      << "</figcaption>\n</figure>\n";
}

}  // namespace

void WritePreviewPage(const PreviewReport& report, std::ostream& out) {
  RunOutcome outcome;
  outcome.status = report.isGood ? RunStatus::kOk : RunStatus::kError;
  outcome.inWords = PreviewInWords(report);
  outcome.document = &report.document;
  outcome.remarks = report.remarks;
  const DesignPreview& preview = report.preview;
  const WeightSummary weights = ExpectedWeights(preview);
  HtmlAdditions additions;
  if (!preview.stages.empty()) {
    additions.sections.push_back({"design", "The design", [&](std::ostream& page) {
                                    WriteTables(DesignTables(preview, report.figures), "design", page);
                                  }});
    additions.sections.push_back({"strata", "Strata", [&](std::ostream& page) {
                                    WriteTables(StrataTables(preview), "strata", page);
                                  }});
  }
  if (!weights.bins.empty()) {
    additions.sections.push_back({"weights", "Weights that can be expected", [&](std::ostream& page) {
                                    WriteWeights(weights, preview.hasEarlierWeight, page);
                                  }});
  }
  WriteHtmlReport(outcome, additions, out);
}

void WritePreviewText(const PreviewReport& report, std::ostream& out) {
  out << PreviewInWords(report) << '\n';
  RenderMessages(report.document, out);
  for (const std::string& remark : report.remarks) out << PrintableText(remark) << '\n';
  WritePreviewTables(report.preview, report.figures, kDefaultTextWidth, out);
}

void WritePreviewTables(const DesignPreview& preview, const PreviewFigures& figures, int width,
                        std::ostream& out) {
  for (const std::vector<OutputTable>& tables : {DesignTables(preview, figures), StrataTables(preview)}) {
    for (const OutputTable& table : tables) {
      out << '\n';
      TablePrinter(table, width, out).Print();
    }
  }
}
