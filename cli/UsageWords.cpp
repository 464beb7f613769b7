#include "cli/UsageWords.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "host/text/DisplayText.h"

namespace {

constexpr std::size_t kLongestQuote = 60;  // bytes; what is longer is cut
constexpr std::size_t kLettersASlip = 3;   // one slip is forgiven for each so many letters
constexpr std::size_t kShortestBegin = 2;  // letters that can stand for a longer word

constexpr std::string_view kEndOfOptions = "--";  // what stands behind it is an argument

// Letters to put in, take out, replace or swap with their neighbour to come from one word to the other.
std::size_t EditDistance(const std::string& from, const std::string& to) {
  std::vector<std::size_t> before;
  std::vector<std::size_t> above(to.size() + 1);
  std::iota(above.begin(), above.end(), 0U);
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::vector<std::size_t> row(to.size() + 1, i + 1);
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t replaced = above[j] + (from[i] == to[j] ? 0 : 1);
      row[j + 1] = std::min({row[j] + 1, above[j + 1] + 1, replaced});
      const bool isSwapped = i > 0 && j > 0 && from[i] == to[j - 1] && from[i - 1] == to[j];
      if (isSwapped) row[j + 1] = std::min(row[j + 1], before[j - 1] + 1);
    }
    before = std::exchange(above, std::move(row));
  }
  return above.back();
}

std::vector<std::string> OptionNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

std::vector<std::string> SubcommandNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(each->get_name());
  }
  return names;
}

std::string Meant(const std::string& word, const std::vector<std::string>& candidates) {
  const std::string nearest = NearestWord(word, candidates);
  return nearest.empty() ? "" : "; did you mean " + nearest + "?";
}

bool IsOption(const std::string& word) {
  return word.size() > 1 && word.front() == '-';
}

bool IsEmptyValue(std::string_view word) {
  return word.starts_with("--") && word.size() > 3 && word.find('=') == word.size() - 1;
}

bool TakesArguments(const CLI::App& app) {
  return !app.get_options([](const CLI::Option* option) { return option->get_positional(); }).empty();
}

}  // namespace

std::string QuotedWord(std::string_view word) {
  const bool isLong = word.size() > kLongestQuote;
  return "'" + PrintableText(word.substr(0, kLongestQuote)) + (isLong ? "...'" : "'");
}

std::string NearestWord(const std::string& word, const std::vector<std::string>& candidates) {
  const std::size_t letters = word.size() - std::min(word.size(), word.find_first_not_of('-'));
  std::string nearest;
  std::size_t least = letters / kLettersASlip + 1;  // the slips that are too many
  for (const std::string& candidate : candidates) {
    // A word much longer than all that it could be a slip of isn't measured: the work grows with its length.
    if (word.size() > 2 * candidate.size()) continue;
    const bool isBegin = letters >= kShortestBegin && candidate.starts_with(word);
    const std::size_t slips = isBegin ? 0 : EditDistance(word, candidate);
    if (slips >= least) continue;
    least = slips;
    nearest = candidate;
  }
  return nearest;
}

std::string UnexpectedWords(const CLI::App& app) {
  std::vector<std::string> words = app.remaining();
  const std::vector<std::string> subcommands = SubcommandNames(app);
  const auto end = std::find(words.begin(), words.end(), kEndOfOptions);
  // An option that isn't known comes first: the words behind it may be its values.
  const auto option = std::find_if(words.begin(), end, IsOption);
  if (option != end) {
    const std::string name = option->substr(0, option->find('='));
    const std::string who = subcommands.empty() ? app.get_name() + " has no option " : "there is no option ";
    return who + QuotedWord(name) + Meant(name, OptionNames(app));
  }
  if (end != words.end() && TakesArguments(app)) words.erase(end);
  if (words.empty()) return "";
  const std::string& word = words.front();
  const bool lacksSubcommand = !subcommands.empty() && app.get_subcommands().empty();
  if (!lacksSubcommand || word == kEndOfOptions) return QuotedWord(word) + " isn't expected";
  return QuotedWord(word) + " is no subcommand" + Meant(word, subcommands);
}

std::string ParseErrorWords(const CLI::App& app, const CLI::ParseError& error) {
  std::string what = error.what();
  if (error.get_name() != "ArgumentMismatch") return what;
  std::string name = what.substr(0, what.find_first_of(": "));
  if (!IsOption(name)) name = "--" + name;  // a flag with a value is told without its dashes
  const CLI::Option* option = app.get_option_no_throw(name);
  if (option == nullptr) return what;
  if (option->get_expected_max() == 0) return name + " takes no value";
  if (option->count() < 2) return name + " needs a value";
  return name + " is given " + std::to_string(option->count()) + " times, and may be once";
}

const CLI::App& NamedSubcommand(const CLI::App& app, int argc, const char* const* argv) {
  const auto isNamed = [&](const CLI::App* each) { return argc > 1 && each->get_name() == argv[1]; };
  const std::vector<const CLI::App*> named = app.get_subcommands(isNamed);
  return named.empty() ? app : *named.front();
}

std::string OverlookedWords(const CLI::App& app, int argc, const char* const* argv) {
  const bool isOptionsOnly = SubcommandNames(app).empty() && !TakesArguments(app);
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (IsEmptyValue(word)) return std::string(word.substr(0, word.size() - 1)) + ": the value is empty";
    if (word != kEndOfOptions) continue;
    return isOptionsOnly ? QuotedWord(word) + " isn't expected: " + app.get_name() + " takes options only"
                         : "";
  }
  return "";
}
