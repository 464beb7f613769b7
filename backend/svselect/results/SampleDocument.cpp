#include "backend/svselect/results/SampleDocument.h"

#include <cassert>
#include <iterator>
#include <locale>
#include <sstream>
#include <string>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "host/environment/Clocks.h"
#include "host/model/KORV_DataSource.h"

namespace {

constexpr std::size_t kPieceSize = 71;        // bytes of a text in one line of 80
constexpr std::size_t kNumberSize = 10;       // characters of a number; the rest is cut off
constexpr std::size_t kStageSize = 3;         // the same for a stage number
constexpr char kFirstPrefix[] = "document ";  // of the first line; the others are indented by as much
constexpr char kOtherPrefix[] = "         ";
static_assert(sizeof kFirstPrefix == sizeof kOtherPrefix);

// Six significant digits, as streams write them by default. Cutting can't lose the end of a number then.
std::string NumberText(double value) {
  std::ostringstream out;
  out.exceptions(std::ios::badbit);
  out.imbue(std::locale::classic());
  out << value;
  return out.str().substr(0, kNumberSize);
}

// Builds the texts of one design, one line after the other. Single use: construct, Describe(), discard.
class Describer {
public:
  Describer(const SVSValidSpecs& specs, const KORV_DataSource& activeFile)
      : fSpecs(specs), fActiveFile(activeFile) {}

  SVSDocumentStrings Describe() {
    fTexts.Add("Plan File: " + fSpecs.PlanFile());
    fTexts.Add("Weight Variable: " + fSpecs.FinalWeightName().Text());
    for (std::size_t i = 0; i < fSpecs.DesignStages().size(); ++i) {
      AddHeading(i);
      AddStage(*fSpecs.DesignStages()[i]);
    }
    return std::move(fTexts);
  }

private:
  const std::string& NameOf(std::int32_t variable) const {
    return fActiveFile.GetVariable(variable).GetName();
  }

  // Stages are counted by their position, not by their number in the design.
  void AddHeading(std::size_t index) {
    const std::string& label = fSpecs.StageLabels()[index];
    const std::string heading = "Stage " + std::to_string(index + 1).substr(0, kStageSize);
    fTexts.Add(label.empty() ? heading : heading + ": " + label);
  }

  // The estimator line comes from the method alone; the plan's own choice of an estimator isn't shown.
  void AddStage(const DesignStage& stage) {
    const SVMethod& method = MethodOf(stage.methodType());
    AddVariables("Stratification Variables: ", stage.strataVariables());
    AddVariables("Cluster Variables: ", stage.clusterVariables());
    if (stage.methodType() != kMethodNone) fTexts.Add("Selection Method: " + std::string(method.title));
    AddMeasureOfSize();
    AddInclusion(stage);
    AddCertainty(stage);
    AddOrder(stage);
    AddBound("Minimum Number of Units Sampled: ", stage.rateMinSize());
    AddBound("Maximum Number of Units Sampled: ", stage.rateMaxSize());
    fTexts.Add("Estimator Assumption: " + std::string(method.estimator));
  }

  // Each name is followed by a blank, the last one too.
  void AddVariables(const char* prefix, const std::vector<std::int32_t>& variables) {
    if (variables.empty()) return;
    std::string text = prefix;
    for (const std::int32_t variable : variables) text += NameOf(variable) + " ";
    fTexts.Add(text);
  }

  // The measure of size belongs to the plan, and is repeated for every stage, even one that doesn't use it.
  void AddMeasureOfSize() {
    if (fSpecs.MosVar() >= 0) {
      AddFromVariable("Measure of Size: ", fSpecs.MosVar());
    } else if (fSpecs.MosFromData()) {
      fTexts.Add("Measure of Size: Obtained from data");
    }
    AddBound("Minimum MOS Value: ", fSpecs.MosMin());
    AddBound("Maximum MOS Value: ", fSpecs.MosMax());
  }

  // The stage's rate or size. Tags that only analysis plans use have no line.
  void AddInclusion(const DesignStage& stage) {
    const std::string rate = "Proportion of Units Sampled: ";
    const std::string size = "Number of Units Sampled: ";
    switch (stage.inclusionType()) {
      case kRateValue:
        fTexts.Add(rate + NumberText(stage.rateValue()));
        break;
      case kRateVariable:
        AddFromVariable(rate, stage.rateVariable());
        break;
      case kRateMatrix:
        fTexts.Add(rate + "Obtained from matrix specification");
        break;
      case kSizeValue:
        fTexts.Add(size + NumberText(stage.sizeValue()));
        break;
      case kSizeVariable:
        AddFromVariable(size, stage.sizeVariable());
        break;
      case kSizeMatrix:
        fTexts.Add(size + "Obtained from matrix specification");
        break;
      default:
        break;
    }
  }

  void AddCertainty(const DesignStage& stage) {
    const double share = stage.certaintyShare();
    if (share > 0.0)
      fTexts.Add("Certainty Units: n x >= " + (share < 1.0 ? NumberText(share) + " X" : std::string("X")));
  }

  void AddOrder(const DesignStage& stage) {
    std::string text;
    for (const DesignStage::OrderKey& key : stage.order())
      text += (text.empty() ? "" : ", ") + NameOf(key.variable) + (key.isDescending ? " descending" : "");
    if (!text.empty()) fTexts.Add("Unit Order: " + text + (stage.isSerpentine() ? ", serpentine" : ""));
  }

  // A tag can name a variable that was never set; such a line is left out.
  void AddFromVariable(const std::string& prefix, std::int32_t variable) {
    if (variable >= 0) fTexts.Add(prefix + "Obtained from variable " + NameOf(variable));
  }

  // Only a positive bound is one.
  void AddBound(const char* prefix, double bound) {
    if (bound > 0.0) fTexts.Add(prefix + NumberText(bound));
  }

  const SVSValidSpecs& fSpecs;
  const KORV_DataSource& fActiveFile;
  SVSDocumentStrings fTexts;
};

}  // namespace

std::int32_t SVSDocumentStrings::Add(const std::string& text) {
  fvStrings.push_back(text);
  return static_cast<std::int32_t>(text.size());
}

// The quotient is rounded up: a last piece that isn't full counts.
std::size_t SVSDocumentStrings::LinesOf(std::size_t index, std::size_t lineLen) const {
  assert(lineLen > 0);
  return index < fvStrings.size() ? (fvStrings[index].size() + lineLen - 1) / lineLen : 0;
}

std::string SVSDocumentStrings::Line(std::size_t index, std::size_t piece, std::size_t lineLen) const {
  if (piece >= LinesOf(index, lineLen)) return {};
  return fvStrings[index].substr(piece * lineLen, lineLen);
}

SVSDocumentStrings DescribeDesign(const SVSValidSpecs& specs, const KORV_DataSource& activeFile) {
  return Describer(specs, activeFile).Describe();
}

// The first line of the document starts with its keyword, which is part of the text.
DSDocument MakeSampleDocument(const SVSDocumentStrings& texts) {
  DSDocument document;
  for (std::size_t i = 0; i < texts.Count(); ++i) {
    for (std::size_t piece = 0; piece < texts.LinesOf(i, kPieceSize); ++piece) {
      const char* prefix = i == 0 && piece == 0 ? kFirstPrefix : kOtherPrefix;
      document.AddLine(prefix + texts.Line(i, piece, kPieceSize));
    }
  }
  const CalendarDay today = BCLOCK();
  document.Day(today.day);
  document.Month(today.month);
  document.Year(today.year);
  AddDateLine(document);
  return document;
}
