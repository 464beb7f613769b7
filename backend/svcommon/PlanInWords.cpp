#include "backend/svcommon/PlanInWords.h"

#include <algorithm>
#include <charconv>

#include "backend/svcommon/design/MethodTable.h"
#include "host/text/DisplayText.h"

namespace {

constexpr std::size_t kMostRows = 20;  // of a table; enough to recognise it, few enough for a screen

using Lines = std::vector<std::string>;

// The shortest decimal text that reads back as the same double: 0.1, not 0.10000000000000001.
std::string NumberText(double number) {
  char text[32];
  const auto end = std::to_chars(std::begin(text), std::end(text), number).ptr;
  return {std::begin(text), end};
}

std::string CountText(std::size_t count, const std::string& one) {
  return std::to_string(count) + ' ' + one + (count == 1 ? "" : "s");
}

std::string NamesText(const std::vector<KorvVarName>& names) {
  std::string text;
  for (const KorvVarName& name : names) text += (text.empty() ? "" : ", ") + PrintableText(name.Text());
  return text.empty() ? "none" : text;
}

// ", at least 5, at most 20". A bound that isn't positive isn't a bound.
std::string BoundsText(double least, double most) {
  std::string text;
  if (least > 0.0) text += ", at least " + NumberText(least);
  if (most > 0.0) text += ", at most " + NumberText(most);
  return text;
}

// The rows in the plan's order: categories, then the number.
void AddTable(const VarCatList& table, Lines* lines) {
  std::vector<VarCatList::CatList> keys;
  std::vector<double> values;
  table.copyMapKeyVal(keys, values);
  const std::size_t shown = std::min(values.size(), kMostRows);
  for (std::size_t row = 0; row < shown; ++row) {
    std::string line;
    for (const std::string& category : keys[row])
      line += (line.empty() ? "" : ", ") + PrintableText(category);
    lines->push_back("    " + line + ": " + NumberText(values[row]));
  }
  if (shown < values.size()) {
    lines->push_back("    ... and " + CountText(values.size() - shown, "more row"));
  }
}

// Only what the table is made of; AddTable() lists its rows.
std::string TableText(const VarCatList& table) {
  std::vector<KorvVarName> names;
  table.copyVarList(names);
  return "a table of " + NamesText(names) + " with " + CountText(table.getMapSize(), "row");
}

// How many units each stratum gives: a number, a variable, a table, or, for the methods that always draw two,
// nothing that the plan says. The bounds belong to a rate only; its text starts with a comma, which is cut
// off.
void AddSize(const SVPlanStageSpecs& stage, Lines* lines) {
  std::string text = "two units of each stratum";
  if (stage.paramSource == kParamByValue) {
    text = NumberText(stage.paramValue);
  } else if (stage.paramSource == kParamByVarName) {
    text = "variable " + PrintableText(stage.paramVariable.Text());
  } else if (stage.paramSource == kParamByVarCatList) {
    text = TableText(stage.paramMatrix);
  } else if (!MethodOfType(stage.type).twoUnits) {
    text = "none";
  }
  const bool isRate = stage.paramKind == kParamRate;
  if (isRate && (stage.minSize > 0.0 || stage.maxSize > 0.0)) {
    text += "; units of a stratum" + BoundsText(stage.minSize, stage.maxSize).substr(1);
  }
  lines->push_back((isRate ? "  Rate in each stratum: " : "  Units of each stratum: ") + text);
  if (stage.paramSource == kParamByVarCatList) AddTable(stage.paramMatrix, lines);
}

// The measure of size belongs to the plan, but is shown with the stage that draws by it.
void AddMeasureOfSize(const SVPlanSpecs& plan, Lines* lines) {
  const std::string source = plan.mosFromData ? "number of cases"
                             : plan.mosVariable.IsEmpty()
                                 ? "none"
                                 : "variable " + PrintableText(plan.mosVariable.Text());
  lines->push_back("  Measure of size: " + source + BoundsText(plan.mosMin, plan.mosMax));
}

// In the order of OutputKind, which is also the order of the variables in the sample.
void AddOutputs(const SVPlanStageSpecs& stage, Lines* lines) {
  const struct {
    const char* text;
    const KorvVarName& name;
  } outputs[] = {
      {"inclusion probability", stage.inclProbName},
      {"cumulative weight", stage.cumWeightName},
      {"number of selections or copy", stage.indexName},
      {"population size", stage.popSizeName},
      {"sample size", stage.sampSizeName},
      {"sampling rate", stage.rateName},
      {"weight", stage.weightName},
      {"mark of units taken for certain", stage.certainName},
  };
  for (const auto& output : outputs) {
    if (output.name.IsEmpty()) continue;
    lines->push_back("  Leaves " + PrintableText(output.name.Text()) + ": the " + output.text);
  }
}

// n, x and X as in the table of methods of the user guide.
void AddCertainty(const SVPlanStageSpecs& stage, Lines* lines) {
  if (!(stage.certainty > 0.0)) return;
  const std::string share = stage.certainty < 1.0 ? NumberText(stage.certainty) + " X" : "X";
  lines->push_back("  Taken for certain: units with n x >= " + share +
                   ", x being the size and X the total of the stratum");
}

void AddOrder(const SVPlanStageSpecs& stage, Lines* lines) {
  std::string text;
  for (const SVPlanOrderKey& key : stage.order) {
    text += (text.empty() ? "" : ", ") + PrintableText(key.variable.Text());
    if (key.isDescending) text += " descending";
  }
  if (stage.isSerpentine) text += "; every second run reversed (serpentine)";
  if (!text.empty()) lines->push_back("  Units ordered by: " + text);
}

void AddStage(const SVPlanSpecs& plan, int number, Lines* lines) {
  const SVPlanStageSpecs& stage = *plan.getStage(number);
  const std::string label = stage.label.empty() ? "" : ": " + PrintableText(stage.label);
  lines->push_back("Stage " + std::to_string(number) + label);
  lines->push_back("  Strata: " + NamesText(stage.strataVariables));
  lines->push_back("  Clusters: " + NamesText(stage.clusterVariables));
  lines->push_back("  Method: " + std::string(MethodOfType(stage.type).inWords));
  AddSize(stage, lines);
  if (MethodOfType(stage.type).IsPps()) AddMeasureOfSize(plan, lines);
  AddCertainty(stage, lines);
  AddOrder(stage, lines);
  AddOutputs(stage, lines);
}

}  // namespace

// The default kind of estimation isn't mentioned: it follows from the methods. Nor is the annotation of an XML
// plan, which is a comment.
std::vector<std::string> PlanInWords(const SVPlanSpecs& plan) {
  Lines lines;
  if (plan.isJson && !plan.title.empty()) lines.push_back("Title: " + PrintableText(plan.title));
  lines.push_back("Sample design of " + CountText(plan.stages.size(), "stage"));
  lines.push_back("Final weight: " + (plan.weight.IsEmpty() ? "none, so nothing can be drawn"
                                                            : PrintableText(plan.weight.Text())));
  if (!plan.previousWeight.IsEmpty()) {
    lines.push_back("Weight of an earlier sampling: " + NamesText({plan.previousWeight}));
  }
  if (plan.estimation == kSamplingWr) lines.emplace_back("Estimation as if drawn with replacement");
  for (int number = 1; number <= plan.numStages(); ++number) AddStage(plan, number, &lines);
  return lines;
}
