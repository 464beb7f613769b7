#include "planning/StageWords.h"

#include <fmt/format.h>

#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/PlanRules.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/environment/HostErrors.h"
#include "host/model/Values.h"
#include "host/numeric/Fuzzy.h"
#include "host/text/NearestWord.h"
#include "planning/StratumTable.h"

namespace {

// The kinds of output variable, by the names that a plan in JSON gives them.
struct OutputWord {
  std::string_view word;
  KorvVarName SVPlanStageSpecs::*name;
};
constexpr OutputWord kOutputWords[] = {
    {"probability", &SVPlanStageSpecs::inclProbName},
    {"weight", &SVPlanStageSpecs::weightName},
    {"cumulative_weight", &SVPlanStageSpecs::cumWeightName},
    {"population", &SVPlanStageSpecs::popSizeName},
    {"sample_size", &SVPlanStageSpecs::sampSizeName},
    {"rate", &SVPlanStageSpecs::rateName},
    {"index", &SVPlanStageSpecs::indexName},
};

}  // namespace

// The order in which words are read, whatever their order in the text: a table needs the strata of its stage.
const StageWords::Key StageWords::kKeys[] = {
    {"label", &StageWords::ReadLabel},
    {"method", &StageWords::ReadMethod},
    {"strata", &StageWords::ReadStrata},
    {"clusters", &StageWords::ReadClusters},
    {"by", &StageWords::ReadBy},
    {"n", &StageWords::ReadSize},
    {"rate", &StageWords::ReadRate},
    {"min", &StageWords::ReadLeast},
    {"max", &StageWords::ReadMost},
    {"size", &StageWords::ReadMeasure},
    {"size_min", &StageWords::ReadMeasureLeast},
    {"size_max", &StageWords::ReadMeasureMost},
    {"write", &StageWords::ReadWrite},
};

std::vector<std::string> StageWords::Keys() {
  std::vector<std::string> names;
  for (const Key& key : kKeys) names.emplace_back(key.name);
  return names;
}

void StageWords::Read(const std::vector<std::string>& stages) {
  fpPlan->mode = kSampleMode;
  if (stages.size() > static_cast<std::size_t>(SV_XML::kMaxPlanStages)) {
    fvProblems.push_back(fmt::format("a plan has at most {} stages", SV_XML::kMaxPlanStages));
    return;
  }
  fpPlan->stages.resize(stages.size());  // first: what a stage may be depends on the number of stages
  for (const std::string& text : stages) {
    ++fNumber;
    ReadStage(text);
  }
  if (fvProblems.empty()) CheckPlan();
}

void StageWords::ReadStage(const std::string& text) {
  Stage().stageNumber = fNumber;
  Stage().type = kSamplingSimpleWor;
  fvBy.clear();
  std::string problem;
  const std::vector<OptionWord> words = SplitOptionWords(text, &problem);
  if (!problem.empty()) return Problem(problem);
  for (const OptionWord& word : words) {
    const std::vector<std::string> keys = Keys();
    if (std::find(keys.begin(), keys.end(), word.key) == keys.end())
      Problem(UnknownWord(word.key, "word of a stage", keys));
  }
  for (const Key& key : kKeys) {
    for (const OptionWord& word : words) {
      if (word.key == key.name) (this->*key.read)(word.value);
    }
  }
  CheckStage();
}

void StageWords::ReadLabel(const std::string& value) {
  Stage().label = Unquoted(value);
}

void StageWords::ReadMethod(const std::string& value) {
  const std::string word = Unquoted(value);
  Stage().type = kSamplingNoValue;
  for (const SVMethod& method : kMethods) {
    if (method.word == word) Stage().type = method.type;
  }
  Problem(MethodFault(*fpPlan, fNumber, word, "the method is empty").what);
}

void StageWords::ReadStrata(const std::string& value) {
  ReadNames(value, &Stage().strataVariables);
}

void StageWords::ReadClusters(const std::string& value) {
  ReadNames(value, &Stage().clusterVariables);
  for (const KorvVarName& name : Stage().clusterVariables) fpPlan->addStageVariableName(fNumber, name);
}

void StageWords::ReadBy(const std::string& value) {
  fvBy = UnquotedList(value);
}

void StageWords::ReadSize(const std::string& value) {
  ReadRequest(kParamSize, "n", value);
}

void StageWords::ReadRate(const std::string& value) {
  if (Stage().paramKind != kParamNone) return Problem("n and rate exclude each other");
  ReadRequest(kParamRate, "rate", value);
}

// A number, a table in a file, a table, or a variable.
void StageWords::ReadRequest(std::int32_t kind, const char* key, const std::string& value) {
  Stage().paramKind = kind;
  const std::vector<std::string> rows = SplitOutsideQuotes(value, ',');
  const bool isTable = SplitOutsideQuotes(value, ':').size() > 1;
  const std::string text = Unquoted(value);
  const bool isFile = IsTableFile(text);
  if (isTable || isFile) {
    Stage().paramSource = kParamByVarCatList;
    if (fvBy.empty()) {
      for (const KorvVarName& name : Stage().strataVariables) fvBy.push_back(name.Text());
    }
    if (fvBy.empty()) return Problem(fmt::format("a table of {} needs strata, or by=VARIABLES", key));
    for (const std::string& name : fvBy) {
      Stage().paramMatrix.addVarName(name);
      Problem(TableVariableFault(*fpPlan, fNumber, name).what);
    }
    if (isFile) return ReadTableFile(text);
    for (const std::string& row : rows) ReadRow(key, row);
  } else if (ParseNumber(text, &Stage().paramValue)) {
    Stage().paramSource = kParamByValue;
    Problem(ValueFault(kind, Stage().paramValue, text).what);
  } else if (ValidateKORVName(text) == 0) {
    Stage().paramSource = kParamByVarName;
    ReadName(text, &Stage().paramVariable);
  } else {
    Problem(fmt::format("{}={} is neither a number, nor a variable, nor CATEGORY:NUMBER,..., nor a .csv file",
                        key, QuotedWord(text)));
  }
}

// A category for each variable of the table, and the number.
void StageWords::ReadRow(const char* key, const std::string& row) {
  std::vector<std::string> parts;
  for (const std::string& part : SplitOutsideQuotes(row, ':')) parts.push_back(Unquoted(part));
  double number = 0.0;
  if (parts.size() != fvBy.size() + 1 || !ParseNumber(parts.back(), &number)) {
    std::string form;
    for (const std::string& name : fvBy) form += name + ":";
    return Problem(fmt::format("{} isn't a row of the table of {}, which has the form {}NUMBER",
                               QuotedWord(row), key, form));
  }
  Problem(ValueFault(Stage().paramKind, number, parts.back()).what);
  parts.pop_back();
  Stage().paramMatrix.addCatList(std::move(parts), number);
}

void StageWords::ReadTableFile(const std::string& path) {
  try {
    for (const StratumTable::Row& row : ReadStratumTable(path, fvBy).rows) {
      const PlanFault fault = ValueFault(Stage().paramKind, row.number, NumberText(row.number));
      if (fault.code != 0) Problem(fmt::format("{}, line {}: {}", path, row.line, fault.what));
      Stage().paramMatrix.addCatList(row.categories, row.number);
    }
  } catch (const DataError& error) {
    Problem(error.what());
  }
}

void StageWords::ReadLeast(const std::string& value) {
  ReadBound("min", value, true, &Stage().minSize);
}

void StageWords::ReadMost(const std::string& value) {
  ReadBound("max", value, true, &Stage().maxSize);
}

void StageWords::ReadMeasure(const std::string& value) {
  if (!DrawsBySize()) return;
  const std::string text = Unquoted(value);
  fpPlan->mosFromData = text == "cases";
  if (!fpPlan->mosFromData) ReadName(text, &fpPlan->mosVariable);
}

// The measure of size belongs to the plan, since only the first stage can draw by size. A word about it in
// another stage, or with another method, is a problem once.
bool StageWords::DrawsBySize() {
  const SVMethod& method = MethodOfType(Stage().type);
  if (method.code != kMethodNone && !method.IsPps())
    Problem("size has no effect: only a pps_ method draws by size");
  return method.IsPps() && fNumber == 1;
}

void StageWords::ReadMeasureLeast(const std::string& value) {
  if (DrawsBySize()) ReadBound("size_min", value, false, &fpPlan->mosMin);
}

void StageWords::ReadMeasureMost(const std::string& value) {
  if (DrawsBySize()) ReadBound("size_max", value, false, &fpPlan->mosMax);
}

void StageWords::ReadBound(const char* key, const std::string& value, bool isWhole, double* bound) {
  const std::string text = Unquoted(value);
  if (ParseNumber(text, bound) && *bound > 0.0 && (!isWhole || IsValidInteger(*bound))) return;
  Problem(fmt::format("{}={} isn't a {}number above 0", key, QuotedWord(text), isWhole ? "whole " : ""));
}

void StageWords::ReadWrite(const std::string& value) {
  std::vector<std::string> known;
  for (const OutputWord& output : kOutputWords) known.emplace_back(output.word);
  for (const std::string& entry : SplitOutsideQuotes(value, ',')) {
    const std::vector<std::string> parts = SplitOutsideQuotes(entry, ':');
    const auto output = std::find(known.begin(), known.end(), Unquoted(parts.front()));
    if (parts.size() != 2) {
      Problem(fmt::format("write={} isn't of the form KIND:NAME, as probability:p1", QuotedWord(entry)));
    } else if (output == known.end()) {
      Problem(UnknownWord(Unquoted(parts.front()), "kind of output variable", known));
    } else {
      KorvVarName& name = Stage().*kOutputWords[output - known.begin()].name;
      if (!name.IsEmpty()) Problem(fmt::format("write has two names for {}", *output));
      ReadName(Unquoted(parts.back()), &name);
    }
  }
}

void StageWords::ReadNames(const std::string& value, std::vector<KorvVarName>* names) {
  for (const std::string& text : UnquotedList(value)) {
    ReadName(text, &names->emplace_back());
    fpPlan->addDesignVariableName(text);
  }
}

void StageWords::ReadName(const std::string& text, KorvVarName* name) {
  *name = text;
  Problem(NameFault(fpPlan, *name).what);
}

// What the stage lacks or has in vain. Nothing more is said of one whose method isn't known.
void StageWords::CheckStage() {
  if (Stage().type == kSamplingNoValue) return;
  CheckRequest();
  CheckMeasure();
  for (const auto& [row, earlier] : RepeatedRows(Stage().paramMatrix)) {
    Problem(fmt::format("row {} of the table has the same categories as row {}", row + 1, earlier + 1));
  }
}

void StageWords::CheckRequest() {
  const SVMethod& method = MethodOfType(Stage().type);
  const bool isGiven = Stage().paramKind != kParamNone;
  const bool isAllocated = fbAllocates && fNumber == 1;
  if (method.twoUnits && (isGiven || isAllocated)) {
    Problem(QuotedWord(method.word) + " draws two units of each stratum: leave " +
            (isGiven ? "n and rate" : "--allocate") + " out");
  } else if (isGiven && isAllocated) {
    Problem("--allocate gives the sizes of the first stage: leave n and rate out");
  } else if (!isGiven && !isAllocated && !method.twoUnits) {
    Problem("n=... or rate=... is needed");
  }
  const double least = Stage().minSize;
  const double most = Stage().maxSize;
  if ((least > 0.0 || most > 0.0) && Stage().paramKind != kParamRate)
    Problem("min and max bound what a rate gives, and there is none");
  if (most > 0.0 && least > most) Problem(fmt::format("min, {}, is above max, {}", least, most));
}

void StageWords::CheckMeasure() {
  if (!MethodOfType(Stage().type).IsPps()) return;
  if (!fpPlan->mosFromData && fpPlan->mosVariable.IsEmpty())
    Problem("the stage draws by size: size=cases or size=VARIABLE is needed");
  if (fpPlan->mosMax > 0.0 && fpPlan->mosMin > fpPlan->mosMax)
    Problem(fmt::format("size_min, {}, is above size_max, {}", fpPlan->mosMin, fpPlan->mosMax));
}

// The rules that concern several stages.
void StageWords::CheckPlan() {
  const int last = fpPlan->numStages();
  for (fNumber = 1; fNumber < last; ++fNumber) {
    if (Stage().clusterVariables.empty()) Problem(kNoClustersText);
  }
  fNumber = last;
  if (last == 1) Problem(OnlyStageFault(Stage(), "add clusters=VARIABLES").what);
}

void StageWords::Problem(const std::string& what) {
  if (!what.empty()) fvProblems.push_back(fmt::format("stage {}: {}", fNumber, what));
}
