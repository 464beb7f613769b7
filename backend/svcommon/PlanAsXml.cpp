#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "backend/svcommon/PlanAsText.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/model/Values.h"

// Elements are written in the order of the grammar, data/korv-survey-plans-1.0.dtd.

namespace {

// The whitespace that XML would change is written as references, as are quotes and brackets.
std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (std::string_view("&<>\"\t\n\r").find(c) != std::string_view::npos) {
      escaped += fmt::format("&#{};", static_cast<int>(c));
    } else {
      escaped += c;
    }
  }
  return escaped;
}

// XML has no control characters but these three, and neither of the last two characters of the first plane.
bool HasXmlCharacters(std::string_view text) {
  const bool hasControls = std::any_of(text.begin(), text.end(), [](char c) {
    return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
  });
  return !hasControls && text.find("\xEF\xBF\xBE") == std::string_view::npos &&
         text.find("\xEF\xBF\xBF") == std::string_view::npos;
}

// Builds the text. Single use: construct, Write(), discard.
class XmlWriter {
public:
  explicit XmlWriter(const SVPlanSpecs& plan) : fPlan(plan) {}

  std::string Write() {
    fText =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE KORVSurveyPlans SYSTEM \"korv-survey-plans-1.0.dtd\">\n";
    Open("KORVSurveyPlans", Attribute("version", "1.0"));
    if (!fPlan.title.empty()) {
      Open("Header");
      Add("<Annotation>" + Escaped(fPlan.title) + "</Annotation>");
      Close("Header");
    }
    Open("SampleDesign", (fPlan.estimation == kSamplingWr ? Attribute("wrEstimation", "yes") : "") +
                             Attribute("numberOfStages", std::to_string(fPlan.stages.size())));
    int number = 0;
    for (const SVPlanStageSpecs& stage : fPlan.stages) AddStage(stage, ++number);
    AddNamed("PreviousWeight", fPlan.previousWeight);
    AddNamed("Weight", fPlan.weight);
    Close("SampleDesign");
    Close("KORVSurveyPlans");
    return std::move(fText);
  }

private:
  static std::string Attribute(const char* name, std::string_view value) {
    return fmt::format(" {}=\"{}\"", name, Escaped(value));
  }
  static std::string Variable(const KorvVarName& name) {
    return "<Variable" + Attribute("name", name.Text()) + "/>";
  }

  void Add(const std::string& line) { fText += std::string(2 * fDepth, ' ') + line + '\n'; }
  void Open(const char* element, const std::string& attributes = "") {
    Add(fmt::format("<{}{}>", element, attributes));
    ++fDepth;
  }
  void Close(const char* element) {
    --fDepth;
    Add(fmt::format("</{}>", element));
  }

  // A name that is empty isn't wanted.
  void AddNamed(const char* element, const KorvVarName& name) {
    if (!name.IsEmpty()) Add(fmt::format("<{0}>{1}</{0}>", element, Variable(name)));
  }
  void AddBound(const char* element, double bound) {
    if (bound <= 0.0) return;
    Add(fmt::format("<{0}><SingleValue{1}/></{0}>", element, Attribute("value", NumberText(bound))));
  }
  void AddList(const char* element, const std::vector<KorvVarName>& names) {
    if (names.empty()) return;
    Open(element, Attribute("numberOfVariables", std::to_string(names.size())));
    for (const KorvVarName& name : names) Add(Variable(name));
    Close(element);
  }

  void AddStage(const SVPlanStageSpecs& stage, int number) {
    const SVMethod& method = MethodOfType(stage.type);
    Open("SampleStage", Attribute("stageNumber", std::to_string(number)) +
                            (stage.label.empty() ? "" : Attribute("label", stage.label)) +
                            Attribute("selectionMethod", method.word));
    AddList("StrataVarList", stage.strataVariables);
    AddList("ClusterVarList", stage.clusterVariables);
    if (stage.paramKind != kParamNone) AddRequest(stage);
    if (method.IsPps()) AddMeasure();
    AddNamed("Index", stage.indexName);
    AddNamed("IncProb", stage.inclProbName);
    AddNamed("PopulationSize", stage.popSizeName);
    AddNamed("OutputSampleSize", stage.sampSizeName);
    AddNamed("OutputSampleRate", stage.rateName);
    AddNamed("Weight", stage.weightName);
    AddNamed("CumulativeWeight", stage.cumWeightName);
    Close("SampleStage");
  }

  void AddRequest(const SVPlanStageSpecs& stage) {
    const char* const element = stage.paramKind == kParamSize ? "InputSampleSize" : "InputSampleRate";
    Open(element);
    if (stage.paramSource == kParamByValue) {
      Add("<SingleValue" + Attribute("value", NumberText(stage.paramValue)) + "/>");
    } else if (stage.paramSource == kParamByVarName) {
      Add(Variable(stage.paramVariable));
    } else if (stage.paramSource == kParamByVarCatList) {
      AddTable(stage.paramMatrix);
    }
    AddBound("MinSize", stage.minSize);
    AddBound("MaxSize", stage.maxSize);
    Close(element);
  }

  void AddTable(const VarCatList& table) {
    std::vector<KorvVarName> names;
    std::vector<VarCatList::CatList> keys;
    std::vector<double> values;
    table.copyVarList(names);
    table.copyMapKeyVal(keys, values);
    Open("Matrix", Attribute("numberOfValues", std::to_string(values.size())));
    AddList("MatrixVarList", names);
    for (std::size_t row = 0; row < values.size(); ++row) {
      std::string line = "<MatrixValue" + Attribute("sizeValue", NumberText(values[row])) + ">";
      for (const std::string& category : keys[row]) line += "<Category" + Attribute("value", category) + "/>";
      Add(line + "</MatrixValue>");
    }
    Close("Matrix");
  }

  void AddMeasure() {
    if (fPlan.mosFromData && fPlan.mosMin <= 0.0 && fPlan.mosMax <= 0.0)
      return Add("<MOS fromData=\"yes\"/>");
    Open("MOS", Attribute("fromData", fPlan.mosFromData ? "yes" : "no"));
    if (!fPlan.mosFromData) Add(Variable(fPlan.mosVariable));
    AddBound("MinSize", fPlan.mosMin);
    AddBound("MaxSize", fPlan.mosMax);
    Close("MOS");
  }

  const SVPlanSpecs& fPlan;
  std::string fText;
  std::size_t fDepth = 0;
};

}  // namespace

std::string PlanAsXml(const SVPlanSpecs& plan) {
  return XmlWriter(plan).Write();
}

namespace {

// The members that only the form in JSON has.
void AddUnwritable(const SVPlanStageSpecs& stage, int number, std::vector<std::string>* lacks) {
  const auto add = [&](bool isThere, const char* member) {
    if (isThere) lacks->push_back(fmt::format("stage {}: XML has nothing for '{}'", number, member));
  };
  add(stage.certainty > 0.0, "certainty");
  add(!stage.certainName.IsEmpty(), "certain");
  add(!stage.order.empty(), "order");
}

}  // namespace

std::vector<std::string> XmlLacks(const SVPlanSpecs& plan) {
  constexpr const char* kCharacters = "has a character that XML can't have";
  std::vector<std::string> lacks;
  if (!HasXmlCharacters(plan.title)) lacks.push_back(fmt::format("'title' {}", kCharacters));
  int number = 0;
  for (const SVPlanStageSpecs& stage : plan.stages) {
    ++number;
    if (!HasXmlCharacters(stage.label))
      lacks.push_back(fmt::format("stage {}: 'label' {}", number, kCharacters));
    AddUnwritable(stage, number, &lacks);
    for (const VarCatList::CatList& row : stage.paramMatrix.Rows()) {
      if (std::all_of(row.begin(), row.end(), HasXmlCharacters)) continue;
      lacks.push_back(fmt::format("stage {}: a category of 'rows' {}", number, kCharacters));
      break;
    }
  }
  return lacks;
}
