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

std::int32_t SVSDocumentStrings::Add(const std::string& text) {
  fvStrings.push_back(text);
  return static_cast<std::int32_t>(text.size());
}

std::size_t SVSDocumentStrings::LinesOf(std::size_t index, std::size_t lineLen) const {
  assert(lineLen > 0);
  return index < fvStrings.size() ? (fvStrings[index].size() + lineLen - 1) / lineLen : 0;
}

std::string SVSDocumentStrings::Line(std::size_t index, std::size_t piece, std::size_t lineLen) const {
  if (piece >= LinesOf(index, lineLen)) return {};
  return fvStrings[index].substr(piece * lineLen, lineLen);
}

namespace {

constexpr std::size_t kPieceSize = 71;        // bytes of a text in one line
constexpr std::size_t kNumberSize = 10;       // characters of a number, what goes beyond is cut off
constexpr std::size_t kStageSize = 3;         // the same of a stage number
constexpr char kFirstPrefix[] = "document ";  // of the first line; the others are indented by as much
constexpr char kOtherPrefix[] = "         ";
static_assert(sizeof kFirstPrefix == sizeof kOtherPrefix);

std::string NumberText(double value) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << value;
  return out.str().substr(0, kNumberSize);
}

// The lines of one design, written one after the other.
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

  void AddHeading(std::size_t index) {
    const std::string& label = fSpecs.StageLabels()[index];
    const std::string heading = "Stage " + std::to_string(index + 1).substr(0, kStageSize);
    fTexts.Add(label.empty() ? heading : heading + ": " + label);
  }

  void AddStage(const DesignStage& stage) {
    const SVMethod& method = MethodOf(stage.methodType());
    AddVariables("Stratification Variables: ", stage.strataVariables());
    AddVariables("Cluster Variables: ", stage.clusterVariables());
    if (stage.methodType() != kMethodNone) fTexts.Add("Selection Method: " + std::string(method.title));
    AddMeasureOfSize();
    AddInclusion(stage);
    AddBound("Minimum Number of Units Sampled: ", stage.rateMinSize());
    AddBound("Maximum Number of Units Sampled: ", stage.rateMaxSize());
    fTexts.Add("Estimator Assumption: " + std::string(method.estimator));
  }

  void AddVariables(const char* prefix, const std::vector<std::int32_t>& variables) {
    if (variables.empty()) return;
    std::string text = prefix;
    for (const std::int32_t variable : variables) text += NameOf(variable) + " ";
    fTexts.Add(text);
  }

  // It belongs to the plan, and stands with every stage all the same.
  void AddMeasureOfSize() {
    if (fSpecs.MosVar() >= 0) {
      AddFromVariable("Measure of Size: ", fSpecs.MosVar());
    } else if (fSpecs.MosFromData()) {
      fTexts.Add("Measure of Size: Obtained from data");
    }
    AddBound("Minimum MOS Value: ", fSpecs.MosMin());
    AddBound("Maximum MOS Value: ", fSpecs.MosMax());
  }

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

  void AddFromVariable(const std::string& prefix, std::int32_t variable) {
    if (variable >= 0) fTexts.Add(prefix + "Obtained from variable " + NameOf(variable));
  }

  void AddBound(const char* prefix, double bound) {
    if (bound > 0.0) fTexts.Add(prefix + NumberText(bound));
  }

  const SVSValidSpecs& fSpecs;
  const KORV_DataSource& fActiveFile;
  SVSDocumentStrings fTexts;
};

}  // namespace

SVSDocumentStrings DescribeDesign(const SVSValidSpecs& specs, const KORV_DataSource& activeFile) {
  return Describer(specs, activeFile).Describe();
}

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
