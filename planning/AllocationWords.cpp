#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

#include "host/model/Values.h"
#include "host/text/NearestWord.h"
#include "planning/OptionWords.h"
#include "planning/PlannedAllocation.h"
#include "planning/StratumTable.h"

// The words of an allocation, and which of them make sense together.

namespace {

constexpr double kLargestSize = 2147483647.0;

// The keys whose value is a number for each stratum.
constexpr std::array<const char*, 7> kNumberKeys = {"sd", "cost", "min", "max", "units", "size", "cv"};

std::string ReadN(const std::string& value, AllocationWords* words) {
  double number = 0.0;
  if (!ParseNumber(value, &number) || number < 1.0 || number > kLargestSize || number != std::floor(number))
    return fmt::format("n={} isn't a whole number from 1 to 2147483647", QuotedWord(value));
  words->n = static_cast<std::int64_t>(number);
  return "";
}

std::string ReadRule(const std::string& value, AllocationWords* words) {
  std::vector<std::string> known;
  for (const AllocationRuleFacts& facts : kAllocationRules) {
    if (facts.word == value) {
      words->rule = facts.rule;
      return "";
    }
    known.emplace_back(facts.word);
  }
  return UnknownWord(value, "rule of allocation", known);
}

std::string ReadExponent(const std::string& value, AllocationWords* words) {
  const bool isNumber = ParseNumber(value, &words->exponent);
  return isNumber ? "" : fmt::format("exponent={} isn't a number", QuotedWord(value));
}

std::string ReadNumbers(const std::string& key, const std::string& value, AllocationWords* words) {
  StratumNumbers& numbers = words->numbers[key];
  double same = 0.0;
  if (IsTableFile(value)) {
    numbers.path = value;
  } else if (key != "units" && ParseNumber(value, &same)) {
    numbers.same = same;
  } else {
    return fmt::format("{}={} is{} a .csv file", key, QuotedWord(value),
                       key == "units" ? "n't" : " neither a number nor");
  }
  return "";
}

std::string ReadWord(const OptionWord& word, AllocationWords* words) {
  const std::string value = Unquoted(word.value);
  if (word.key == "n") return ReadN(value, words);
  if (word.key == "rule") return ReadRule(value, words);
  if (word.key == "exponent") return ReadExponent(value, words);
  if (std::find(kNumberKeys.begin(), kNumberKeys.end(), word.key) != kNumberKeys.end())
    return ReadNumbers(word.key, value, words);
  if (word.key == "by") {
    words->by = UnquotedList(word.value);
  } else if (word.key == "variable") {
    words->variable = value;
  } else {
    return UnknownWord(word.key, "word of an allocation", AllocationKeys());
  }
  return "";
}

// What is missing, or there in vain.
std::string CheckTogether(const AllocationWords& words, bool hasExponent) {
  const AllocationRuleFacts& facts = FactsOf(words.rule);
  if (words.n == 0) return "n=... is needed, the size of the sample";
  if (!words.variable.empty() && words.Has("sd")) return "variable and sd exclude each other";
  if (!words.variable.empty() && words.Has("units")) return "variable needs a frame, and units excludes one";
  if (facts.needsDeviation && words.variable.empty() && !words.Has("sd")) {
    return fmt::format("the rule {} needs standard deviations: variable=NAME of the frame, or sd=FILE",
                       facts.word);
  }
  if (facts.needsCost && !words.Has("cost"))
    return fmt::format("the rule {} needs costs: cost=FILE", facts.word);
  if (!facts.needsCost && words.Has("cost"))
    return fmt::format("cost has no effect: it is for the rule optimal, and the rule is {}", facts.word);
  const bool isPower = words.rule == AllocationRule::kPower;
  if (!isPower && (hasExponent || words.Has("size") || words.Has("cv"))) {
    return fmt::format(
        "exponent, size and cv have no effect: they are for the rule power, and the rule is {}", facts.word);
  }
  if (isPower && !hasExponent) return "the rule power needs exponent=Q, as 0.5";
  return "";
}

}  // namespace

std::vector<std::string> AllocationKeys() {
  return {"n", "rule", "by", "variable", "sd", "cost", "min", "max", "units", "exponent", "size", "cv"};
}

std::string ReadAllocationWords(const std::string& text, AllocationWords* words) {
  std::string problem;
  bool hasRule = false;
  bool hasExponent = false;
  for (const OptionWord& word : SplitOptionWords(text, &problem)) {
    if (problem.empty()) problem = ReadWord(word, words);
    hasRule = hasRule || word.key == "rule";
    hasExponent = hasExponent || word.key == "exponent";
  }
  if (problem.empty() && !hasRule)
    problem = "rule=... is needed: equal, proportional, neyman, optimal or power";
  return problem.empty() ? CheckTogether(*words, hasExponent) : problem;
}
