#include "backend/svcommon/PlanRules.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <limits>
#include <numeric>

#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/SVPlanSpecs.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/numeric/Fuzzy.h"
#include "host/text/NearestWord.h"

namespace {

// What a quantity may be, and the code if it isn't.
struct ValueRule {
  int code = 0;
  const char* allowed = "";
  bool mustBeWhole = false;
  double most = std::numeric_limits<double>::infinity();
};

// A rate may exceed 1 here: a method with replacement can draw more often than there are units. Without
// replacement the stratum warns and takes all.
ValueRule RuleOf(std::int32_t paramKind) {
  switch (paramKind) {
    case kParamSize:
      return {SV_XML::kPlanBadSampleSize, "a whole number above 0", true};
    case kParamRate:
      return {SV_XML::kPlanBadSampleRate, "a number above 0"};
    case kParamPopSize:
      return {SV_XML::kPlanBadPopulationSize, "a whole number above 0", true};
    default:
      return {SV_XML::kPlanBadInclusionProbability, "a number above 0 and at most 1", false, 1.0};
  }
}

// The words of the methods for which that holds.
template <class Holds>
std::vector<std::string> MethodWords(const Holds& holds) {
  std::vector<std::string> words;
  for (const SVMethod& method : kMethods) {
    if (holds(method)) words.emplace_back(method.word);
  }
  return words;
}

// Words of a plan are in lower case; in another case they aren't known, but there is no doubt which is meant.
std::string NoMethodText(const std::string& word, const char* missing) {
  const std::vector<std::string> all = MethodWords([](const SVMethod&) { return true; });
  std::string lower = word;
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  const std::string nearest = NearestWord(lower, all);
  return (word.empty() ? missing : QuotedWord(word) + " is no selection method") +
         (nearest.empty() ? "; a method is " + ListedWords(all) : "; did you mean " + nearest + "?");
}

}  // namespace

std::string ListedWords(const std::vector<std::string>& words, const char* last) {
  if (words.size() == 1) return words.front();
  return fmt::format("{} {} {}", fmt::join(words.begin(), words.end() - 1, ", "), last, words.back());
}

namespace {

PlanFault IllegalNameFault(const KorvVarName& name) {
  if (ValidateKORVName(name.Text()) == 0) return {};
  return {SV_XML::kPlanInvalidVariable,
          QuotedWord(name.Text()) +
              " is no valid name: a name has up to 64 bytes, begins with a letter or one of _@#$, goes "
              "on with these, digits and full stops, doesn't end in a full stop, and isn't ALL"};
}

}  // namespace

PlanFault NameFault(SVPlanSpecs* plan, const KorvVarName& name) {
  if (!plan->addVariableName(name))
    return {SV_XML::kPlanRepeatedVariable, QuotedWord(name.Text()) + " is used twice; names ignore case"};
  return IllegalNameFault(name);
}

PlanFault AddOrderKey(const std::string& text, std::vector<SVPlanOrderKey>* order) {
  const bool isDescending = text.starts_with('-');
  const SVPlanOrderKey key = {KorvVarName(text.substr(isDescending ? 1 : 0)), isDescending};
  const auto isSame = [&](const SVPlanOrderKey& other) {
    return GetUpperVarName(other.variable.Text()) == GetUpperVarName(key.variable.Text());
  };
  const bool isRepeated = std::any_of(order->begin(), order->end(), isSame);
  order->push_back(key);
  if (!isRepeated) return IllegalNameFault(key.variable);
  return {SV_XML::kPlanRepeatedVariable,
          QuotedWord(key.variable.Text()) + " is in 'order' twice; names ignore case"};
}

PlanFault OrderFault(const SVPlanStageSpecs& stage) {
  const SVMethod& method = MethodOfType(stage.type);
  if (stage.order.empty()) return {SV_XML::kPlanInvalidFile, "'order' names no variable"};
  if (!method.ordersBySize) return {};
  return {SV_XML::kPlanInvalidFile,
          "'order' has no effect with " + QuotedWord(method.word) + ", which orders the units by size"};
}

PlanFault MethodFault(const SVPlanSpecs& plan, int number, const std::string& word, const char* missing) {
  const auto found = std::find_if(std::begin(kMethods), std::end(kMethods),
                                  [&](const SVMethod& row) { return row.word == word; });
  if (found == std::end(kMethods)) return {SV_XML::kPlanIllegalMethod, NoMethodText(word, missing)};
  if (found->IsPps() && number >= 2) {
    return {SV_XML::kPlanIllegalMethod,
            QuotedWord(word) + " draws by size, which only the first stage can; this one takes " +
                ListedWords(MethodWords([](const SVMethod& m) { return m.equalProbability; }))};
  }
  if (!found->withReplacement || number == plan.numStages()) return {};
  return {SV_XML::kPlanReplacementBeforeLast,
          QuotedWord(word) + " draws with replacement, which only the last stage can"};
}

PlanFault ValueFault(std::int32_t paramKind, double value, const std::string& text) {
  const ValueRule rule = RuleOf(paramKind);
  if (value > 0.0 && value <= rule.most && (!rule.mustBeWhole || IsValidInteger(value))) return {};
  return {rule.code, fmt::format("{} isn't {}", QuotedWord(text), rule.allowed)};
}

PlanFault TableVariableFault(const SVPlanSpecs& plan, int number, const KorvVarName& name) {
  const std::string quoted = QuotedWord(name.Text());
  if (!plan.hasDesignVariableName(name)) {
    return {SV_XML::kPlanBadMatrixVariable,
            quoted + " is neither a stratum of this stage nor a stratum or cluster of one before"};
  }
  if (!plan.hasStageVariableName(number, name)) return {};
  return {SV_XML::kPlanBadMatrixVariable,
          quoted + " is a cluster of this stage; a table takes its strata, and clusters of stages before"};
}

bool AsksForTwo(const SVPlanStageSpecs& stage) {
  return stage.paramSource == kParamNotGiven ||
         (stage.paramSource == kParamByValue && stage.paramKind == kParamSize && stage.paramValue == 2.0);
}

PlanFault CertaintyShareFault(double share, const std::string& text) {
  if (share > 0.0 && share < 1.0) return {};
  return {SV_XML::kPlanInvalidFile,
          fmt::format(
              "{} isn't a share of the limit, a number above 0 and below 1; for the limit itself say true",
              QuotedWord(text))};
}

PlanFault CertaintyFault(const SVPlanStageSpecs& stage) {
  const SVMethod& method = MethodOfType(stage.type);
  if (method.code == kMethodNone || method.TakesCertain()) return {};
  return {SV_XML::kPlanInvalidFile,
          fmt::format("'certainty' has no effect with {}; it takes {}", QuotedWord(method.word),
                      ListedWords(MethodWords([](const SVMethod& m) { return m.TakesCertain(); })))};
}

PlanFault OnlyStageFault(const SVPlanStageSpecs& stage, const char* cure) {
  const SVMethod& method = MethodOfType(stage.type);
  if (!method.writesJointUnasked || !stage.designVariableNames.empty()) return {};
  return {SV_XML::kPlanClusterMissing,
          QuotedWord(method.word) + " writes joint probabilities, in which clusters name the units: " + cure};
}

std::string RepeatedRowText(int row, int earlier, bool isJson) {
  return fmt::format("row {} of the table has the same categories as row {}{}", row, earlier,
                     isJson ? "" : "; the last such row counts");
}

std::vector<std::pair<std::size_t, std::size_t>> RepeatedRows(const VarCatList& table) {
  const std::vector<VarCatList::CatList>& rows = table.Rows();
  std::vector<std::size_t> sorted(rows.size());
  std::iota(sorted.begin(), sorted.end(), 0U);
  std::stable_sort(sorted.begin(), sorted.end(),
                   [&](std::size_t a, std::size_t b) { return rows[a] < rows[b]; });
  std::vector<std::pair<std::size_t, std::size_t>> repeats;
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    if (rows[sorted[i - 1]] == rows[sorted[i]]) repeats.emplace_back(sorted[i], sorted[i - 1]);
  }
  std::sort(repeats.begin(), repeats.end());
  return repeats;
}
