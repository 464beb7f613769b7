#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <nlohmann/json.hpp>

#include "cli/PlanningLine.h"
#include "cli/Subcommands.h"
#include "cli/Terminal.h"
#include "design/SampleSize.h"
#include "host/model/Values.h"
#include "host/text/NearestWord.h"
#include "host/text/ReadableNumber.h"

// `svselect size`: the options become one question of design/SampleSize.h, and its answer a short table in the
// order in which a statistician would work it out by hand.

namespace {

constexpr std::array<const char*, 3> kTargets = {"proportion", "mean", "total"};  // as SizeTarget

// A number, or a percentage such as 5%. False for any other text.
bool ReadNumber(std::string text, double* number, bool* isPercent) {
  *isPercent = text.ends_with('%');
  if (*isPercent) text.pop_back();
  if (!ParseNumber(text, number)) return false;
  if (*isPercent) *number /= 100.0;
  return true;
}

// Reads one option; `error` keeps the first fault. Nothing is set if the option wasn't given.
template <class Number>
void ReadOption(const char* name, const std::string& text, bool takesPercent, Number* number,
                std::string* error) {
  if (text.empty() || !error->empty()) return;
  double value = 0.0;
  bool isPercent = false;
  if (!ReadNumber(text, &value, &isPercent)) {
    *error = std::string(name) + ": " + QuotedWord(text) + " isn't a number" +
             (takesPercent ? " or a percentage such as 5%" : "");
  } else if (isPercent && !takesPercent) {
    *error = std::string(name) + ": " + QuotedWord(text) + " is a percentage, and a number is needed";
  } else {
    *number = value;
  }
}

// A margin of a mean or total in percent is one of the expected value.
std::string ScaleMargin(const SizeOptions& options, SizeQuestion* question) {
  if (!options.margin.ends_with('%') || question->target == SizeTarget::kProportion) return "";
  if (!question->expected) return "--margin in percent needs --expected, of which it is a share";
  *question->margin *= std::abs(*question->expected);
  return "";
}

std::string Grouped(double number) {
  return GroupedNumber(number, 8);
}

nlohmann::ordered_json JsonOf(const SizeQuestion& question, const SizeAnswer& answer) {
  nlohmann::ordered_json json = {{"estimate", kTargets[static_cast<std::size_t>(question.target)]}};
  const auto add = [&](const char* name, const std::optional<double>& number) {
    if (number) json[name] = *number;
  };
  add("expected", question.expected);
  add("standard_deviation", question.deviation);
  add("population", question.population);
  add("margin", question.margin);
  add("cv", question.cv);
  if (question.margin) {
    json["confidence"] = question.confidence;
    json["z"] = answer.z;
  }
  json["design_effect"] = question.designEffect;
  json["response_rate"] = question.responseRate;
  json["simple_random_sample"] = answer.simple;
  json["with_design_effect"] = answer.withEffect;
  json["with_population"] = answer.withPopulation;
  json["answers"] = answer.answers;
  json["sample"] = answer.sample;
  return json;
}

// What is asked, in one sentence.
std::string QuestionInWords(const SizeQuestion& question, double z) {
  std::string text = std::string("To estimate a ") + kTargets[static_cast<std::size_t>(question.target)];
  const bool isProportion = question.target == SizeTarget::kProportion;
  if (question.expected || isProportion) text += " near " + Grouped(question.expected.value_or(0.5));
  if (question.deviation) text += ", with the standard deviation " + Grouped(*question.deviation);
  if (question.cv) return text + ", with a coefficient of variation of " + Grouped(*question.cv * 100) + "%";
  return text + ", within " + Grouped(*question.margin) + " at " + Grouped(question.confidence * 100) +
         "% confidence (z = " + ReadableNumber(z) + ")";
}

// The steps; those that change nothing are left out.
void PrintAnswer(const SizeQuestion& question, const SizeAnswer& answer) {
  std::vector<std::pair<std::string, double>> rows = {{"simple random sample", answer.simple}};
  if (question.designEffect != 1.0)
    rows.emplace_back("times the design effect " + Grouped(question.designEffect), answer.withEffect);
  if (question.population)
    rows.emplace_back("from a population of " + Grouped(*question.population), answer.withPopulation);
  rows.emplace_back("answers needed", static_cast<double>(answer.answers));
  if (question.responseRate != 1.0)
    rows.emplace_back("to draw, if " + Grouped(question.responseRate * 100) + "% answer",
                      static_cast<double>(answer.sample));
  std::vector<std::string> numbers;
  std::size_t longestText = 0;
  std::size_t longestNumber = 0;
  for (const auto& [text, number] : rows) {
    numbers.push_back(Grouped(std::round(number * 10) / 10));
    longestText = std::max(longestText, text.size());
    longestNumber = std::max(longestNumber, numbers.back().size());
  }
  PrintFolded(QuestionInWords(question, answer.z) + ":");
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const std::size_t blanks = longestText - rows[i].first.size() + 2 + longestNumber - numbers[i].size();
    std::cout << "  " << rows[i].first << std::string(blanks, ' ') << numbers[i] << '\n';
  }
}

}  // namespace

std::string ReadSizeQuestion(const SizeOptions& options, SizeQuestion* question) {
  const auto found = std::find(kTargets.begin(), kTargets.end(), options.target);
  if (found == kTargets.end()) {
    const std::string meant = NearestWord(options.target, {kTargets.begin(), kTargets.end()});
    return QuotedWord(options.target) + " can't be estimated" +
           (meant.empty() ? "; choose proportion, mean or total" : "; did you mean " + meant + "?");
  }
  question->target = static_cast<SizeTarget>(found - kTargets.begin());
  const bool isProportion = question->target == SizeTarget::kProportion;
  std::string error;
  ReadOption("--expected", options.expected, isProportion, &question->expected, &error);
  ReadOption("--sd", options.deviation, false, &question->deviation, &error);
  ReadOption("--population", options.population, false, &question->population, &error);
  ReadOption("--margin", options.margin, true, &question->margin, &error);
  ReadOption("--cv", options.cv, true, &question->cv, &error);
  ReadOption("--confidence", options.confidence, true, &question->confidence, &error);
  ReadOption("--deff", options.designEffect, false, &question->designEffect, &error);
  ReadOption("--response", options.responseRate, true, &question->responseRate, &error);
  if (error.empty()) error = ScaleMargin(options, question);
  if (!error.empty()) return error;
  const SizeAnswer answer = SampleSizeFor(*question);
  return answer.isOutOfReach ? "" : answer.problem;
}

// The options were read once before, to find usage errors.
int TellSize(const SizeOptions& options) {
  SizeQuestion question;
  ReadSizeQuestion(options, &question);
  const SizeAnswer answer = SampleSizeFor(question);
  if (!answer.problem.empty()) {
    TellProblem(answer.problem);
    return kExitError;
  }
  if (options.json) {
    std::cout << JsonOf(question, answer).dump(2) << '\n';
  } else {
    PrintAnswer(question, answer);
  }
  return FinishOutput() ? kExitOk : kExitError;
}
