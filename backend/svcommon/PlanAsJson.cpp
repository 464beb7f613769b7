#include <nlohmann/json.hpp>
#include <string_view>

#include "backend/svcommon/PlanAsText.h"
#include "backend/svcommon/PlanJsonReader.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/model/Values.h"

// A plan becomes a document of the JSON library, which keeps the order of members; the layout is ours.

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kWidth = 100;
constexpr std::size_t kIndent = 2;

// --- the document -----------------------------------------------------------------------------------------

Json NamesJson(const std::vector<KorvVarName>& names) {
  Json list = Json::array();
  for (const KorvVarName& name : names) list.push_back(name.Text());
  return list;
}

void AddName(Json* object, const char* member, const KorvVarName& name) {
  if (!name.IsEmpty()) (*object)[member] = name.Text();
}

void AddBound(Json* object, const char* member, double bound) {
  if (bound > 0.0) (*object)[member] = bound;
}

// Whether a category that is written as a number is read as the same text again. Numbers with an exponent
// stay texts, and so do long ones, which a double would round.
bool IsPlainNumber(const std::string& text) {
  double number = 0.0;
  return text.find_first_not_of("-0123456789.") == std::string::npos && ParseNumber(text, &number) &&
         NumberText(number) == text;
}

Json CategoryJson(const std::string& text, bool isNumber) {
  double number = 0.0;
  if (!isNumber) return text;
  ParseNumber(text, &number);
  return number;
}

Json TableJson(const VarCatList& table) {
  std::vector<KorvVarName> names;
  std::vector<VarCatList::CatList> keys;
  std::vector<double> values;
  table.copyVarList(names);
  table.copyMapKeyVal(keys, values);
  std::vector<bool> areNumbers(names.size(), true);
  for (const VarCatList::CatList& key : keys) {
    for (std::size_t i = 0; i < key.size(); ++i) areNumbers[i] = areNumbers[i] && IsPlainNumber(key[i]);
  }
  Json rows = Json::array();
  for (std::size_t row = 0; row < keys.size(); ++row) {
    Json& entries = rows.emplace_back(Json::array());
    for (std::size_t i = 0; i < keys[row].size(); ++i)
      entries.push_back(CategoryJson(keys[row][i], areNumbers[i]));
    entries.push_back(values[row]);
  }
  return {{"by", NamesJson(names)}, {"rows", std::move(rows)}};
}

void AddRequest(Json* object, const SVPlanStageSpecs& stage) {
  const char* const member = stage.paramKind == kParamSize ? "n" : "rate";
  if (stage.paramSource == kParamByValue) {
    (*object)[member] = stage.paramValue;
  } else if (stage.paramSource == kParamByVarName) {
    (*object)[member] = {{"variable", stage.paramVariable.Text()}};
  } else if (stage.paramSource == kParamByVarCatList) {
    (*object)[member] = TableJson(stage.paramMatrix);
  }
  AddBound(object, "min", stage.minSize);
  AddBound(object, "max", stage.maxSize);
}

Json MeasureJson(const SVPlanSpecs& plan) {
  if (plan.mosFromData) return "cases";  // without the bounds that a plan in XML may have: they don't count
  Json measure = Json::object();
  AddName(&measure, "variable", plan.mosVariable);
  AddBound(&measure, "min", plan.mosMin);
  AddBound(&measure, "max", plan.mosMax);
  return measure;
}

Json StageJson(const SVPlanSpecs& plan, const SVPlanStageSpecs& stage) {
  const SVMethod& method = MethodOfType(stage.type);
  Json object = Json::object();
  if (!stage.label.empty()) object["label"] = stage.label;
  if (!stage.strataVariables.empty()) object["strata"] = NamesJson(stage.strataVariables);
  if (!stage.clusterVariables.empty()) object["clusters"] = NamesJson(stage.clusterVariables);
  object["method"] = method.word;
  AddRequest(&object, stage);
  if (method.IsPps()) object["size"] = MeasureJson(plan);
  if (stage.certainty == 1.0) object["certainty"] = true;
  if (stage.certainty > 0.0 && stage.certainty < 1.0) object["certainty"] = stage.certainty;
  for (const SVPlanOrderKey& key : stage.order)
    object["order"].push_back((key.isDescending ? "-" : "") + key.variable.Text());
  AddBound(&object, "reserve", stage.reserve);
  if (stage.isSerpentine) object["serpentine"] = true;
  Json write = Json::object();
  AddName(&write, "probability", stage.inclProbName);
  AddName(&write, "weight", stage.weightName);
  AddName(&write, "cumulative_weight", stage.cumWeightName);
  AddName(&write, "population", stage.popSizeName);
  AddName(&write, "sample_size", stage.sampSizeName);
  AddName(&write, "rate", stage.rateName);
  AddName(&write, "index", stage.indexName);
  AddName(&write, "certain", stage.certainName);
  AddName(&write, "reserve", stage.reserveName);
  if (!write.empty()) object["write"] = std::move(write);
  return object;
}

Json PlanJson(const SVPlanSpecs& plan) {
  Json object = {{"svselect_plan", PlanJsonReader::kVersion}};
  if (!plan.title.empty()) object["title"] = plan.title;
  Json& stages = object["stages"] = Json::array();
  for (const SVPlanStageSpecs& stage : plan.stages) stages.push_back(StageJson(plan, stage));
  AddName(&object, "previous_weight", plan.previousWeight);
  AddName(&object, "weight", plan.weight);
  if (plan.estimation == kSamplingWr) object["with_replacement_estimates"] = true;
  return object;
}

// --- the layout -------------------------------------------------------------------------------------------

// A name may be any bytes where a caller made the plan; JSON is UTF-8.
std::string Quoted(const std::string& text) {
  return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string Flat(const Json& value);

// The entries of a list or object, each as `write` lays it out, with the name of a member before it.
template <class Write>
std::vector<std::string> EntriesOf(const Json& value, const Write& write) {
  std::vector<std::string> entries;
  for (const auto& [name, entry] : value.items()) {
    const std::string before = value.is_object() ? Quoted(name) + ": " : "";
    entries.push_back(before + write(entry, before.size()));
  }
  return entries;
}

std::string Flat(const Json& value) {
  if (value.is_structured()) {
    std::string text;
    for (const std::string& entry : EntriesOf(value, [](const Json&v, std::size_t) { return Flat(v); }))
      text += (text.empty() ? "" : ", ") + entry;
    return value.is_object() ? '{' + text + '}' : '[' + text + ']';
  }
  if (value.is_number_float()) return NumberText(value.get<double>());
  return value.is_string() ? Quoted(value.get_ref<const std::string&>()) : value.dump();
}

// `depth` counts the lists and objects around the value, `before` the characters before it on its line. The
// plan, its list of stages and each stage are always broken into lines.
std::string LaidOut(const Json& value, std::size_t depth, std::size_t before) {
  constexpr std::size_t kStageDepth = 2;
  const bool isBroken = value.is_structured() && !value.empty() &&
                        (depth == 0 || (depth <= kStageDepth && value.front().is_structured()) ||
                         (depth == kStageDepth && value.is_object()));
  std::string flat = isBroken ? "" : Flat(value);
  const std::size_t indent = depth * kIndent;
  if (!isBroken && (!value.is_structured() || indent + before + flat.size() < kWidth)) return flat;
  const auto entries =
      EntriesOf(value, [&](const Json& entry, std::size_t name) { return LaidOut(entry, depth + 1, name); });
  std::string text = value.is_object() ? "{" : "[";
  for (std::size_t i = 0; i < entries.size(); ++i) {
    text += (i == 0 ? "\n" : ",\n") + std::string(indent + kIndent, ' ') + entries[i];
  }
  return text + '\n' + std::string(indent, ' ') + (value.is_object() ? '}' : ']');
}

}  // namespace

std::string PlanAsJson(const SVPlanSpecs& plan) {
  return LaidOut(PlanJson(plan), 0, 0) + '\n';
}
