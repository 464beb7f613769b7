#include "backend/svcommon/PlanJsonReader.h"

// The members of a JSON plan. The order of a table is the order of reading: a method is known before what
// depends on it, strata and clusters before a table that uses them.

namespace {

constexpr const char* kNameInWords = "the name of a variable, in quotes";
constexpr const char* kNumberOrTable =
    "a number, {\"variable\": ...} or a table, {\"by\": [...], \"rows\": [[category, ..., number], ...]}";

}  // namespace

PlanJsonReader::Members PlanJsonReader::PlanMembers() {
  static const Member kMembers[] = {
      {"svselect_plan",
       {JsonKind::kNumber},
       "the version of the form, 1",
       true,
       &PlanJsonReader::ReadVersion},
      {"$schema", {JsonKind::kText}, "an address, in quotes", false, &PlanJsonReader::ReadSchema},
      {"title", {JsonKind::kText}, "a text in quotes", false, &PlanJsonReader::ReadTitle},
      {"stages", {JsonKind::kList}, "a list of stages, [{...}, ...]", true, &PlanJsonReader::ReadStages},
      {"previous_weight", {JsonKind::kText}, kNameInWords, false, &PlanJsonReader::ReadPreviousWeight},
      {"weight", {JsonKind::kText}, kNameInWords, true, &PlanJsonReader::ReadWeight},
      {"with_replacement_estimates",
       {JsonKind::kBoolean},
       "true or false",
       false,
       &PlanJsonReader::ReadEstimation},
  };
  return kMembers;
}

PlanJsonReader::Members PlanJsonReader::StageMembers() {
  static const Member kMembers[] = {
      {"label", {JsonKind::kText}, "a text in quotes", false, &PlanJsonReader::ReadLabel},
      {"method", {JsonKind::kText}, "the word of a method, in quotes", true, &PlanJsonReader::ReadMethod},
      {"strata", {JsonKind::kList}, "a list of variables, [\"...\"]", false, &PlanJsonReader::ReadStrata},
      {"clusters", {JsonKind::kList}, "a list of variables, [\"...\"]", false, &PlanJsonReader::ReadClusters},
      {"n", {JsonKind::kNumber, JsonKind::kObject}, kNumberOrTable, false, &PlanJsonReader::ReadSize},
      {"rate", {JsonKind::kNumber, JsonKind::kObject}, kNumberOrTable, false, &PlanJsonReader::ReadRate},
      {"min", {JsonKind::kNumber}, "a number", false, &PlanJsonReader::ReadLeast},
      {"max", {JsonKind::kNumber}, "a number", false, &PlanJsonReader::ReadMost},
      {"size",
       {JsonKind::kText, JsonKind::kObject},
       "\"cases\" or {\"variable\": ...}",
       false,
       &PlanJsonReader::ReadMeasure},
      {"certainty",
       {JsonKind::kBoolean, JsonKind::kNumber},
       "true, false or a number",
       false,
       &PlanJsonReader::ReadCertainty},
      {"order",
       {JsonKind::kList},
       "a list of variables, [\"...\"], those with a minus sign in descending order",
       false,
       &PlanJsonReader::ReadOrder},
      {"serpentine", {JsonKind::kBoolean}, "true or false", false, &PlanJsonReader::ReadSerpentine},
      {"write", {JsonKind::kObject}, "an object, {...}", false, &PlanJsonReader::ReadWrite},
  };
  return kMembers;
}

PlanJsonReader::Members PlanJsonReader::RequestMembers() {
  static const Member kMembers[] = {
      {"variable", {JsonKind::kText}, kNameInWords},
      {"by", {JsonKind::kList}, "a list of variables, [\"...\"]"},
      {"rows", {JsonKind::kList}, "a list of rows, [[category, ..., number], ...]"},
      {"table", {JsonKind::kText}, "the name of a CSV file beside the plan, in quotes"},
  };
  return kMembers;
}

PlanJsonReader::Members PlanJsonReader::SizeMembers() {
  static const Member kMembers[] = {
      {"cases",
       {JsonKind::kBoolean},
       "true, for the number of cases",
       false,
       &PlanJsonReader::ReadMeasureCases},
      {"variable", {JsonKind::kText}, kNameInWords, false, &PlanJsonReader::ReadMeasureVariable},
      {"min", {JsonKind::kNumber}, "a number", false, &PlanJsonReader::ReadMeasureLeast},
      {"max", {JsonKind::kNumber}, "a number", false, &PlanJsonReader::ReadMeasureMost},
  };
  return kMembers;
}

PlanJsonReader::Members PlanJsonReader::WriteMembers() {
  using Stage = SVPlanStageSpecs;
  using Reader = PlanJsonReader;
  static const Member kMembers[] = {
      {"probability", {JsonKind::kText}, kNameInWords, false, &Reader::ReadOutput<&Stage::inclProbName>},
      {"weight", {JsonKind::kText}, kNameInWords, false, &Reader::ReadOutput<&Stage::weightName>},
      {"cumulative_weight",
       {JsonKind::kText},
       kNameInWords,
       false,
       &Reader::ReadOutput<&Stage::cumWeightName>},
      {"population", {JsonKind::kText}, kNameInWords, false, &Reader::ReadOutput<&Stage::popSizeName>},
      {"sample_size", {JsonKind::kText}, kNameInWords, false, &Reader::ReadOutput<&Stage::sampSizeName>},
      {"rate", {JsonKind::kText}, kNameInWords, false, &Reader::ReadOutput<&Stage::rateName>},
      {"index", {JsonKind::kText}, kNameInWords, false, &Reader::ReadOutput<&Stage::indexName>},
      {"certain", {JsonKind::kText}, kNameInWords, false, &Reader::ReadCertain},
  };
  return kMembers;
}

std::map<std::string, std::vector<std::string>> PlanJsonReader::MemberNames() {
  std::map<std::string, std::vector<std::string>> names;
  const auto add = [&](const char* of, Members members) {
    for (const Member& member : members) names[of].emplace_back(member.name);
  };
  add("plan", PlanMembers());
  add("stage", StageMembers());
  add("request", RequestMembers());
  add("size", SizeMembers());
  add("write", WriteMembers());
  return names;
}
