#include "cli/UsageWords.h"

#include <algorithm>

#include "host/text/NearestWord.h"

// Examples of what a user gets:
//
//   svselect rnu              'rnu' is no subcommand; did you mean run?
//   svselect run --smaple s   run has no option '--smaple'; did you mean --sample?
//   svselect run --plan=      --plan: the value is empty
//   svselect run --quiet=no   --quiet takes no value
//
// Words of the user can hold anything, line ends and control characters included, so none is printed without
// QuotedWord().

namespace {

constexpr std::string_view kEndOfOptions = "--";  // words after it are arguments

// Long names only; -h is too short to be mistyped for anything.
std::vector<std::string> OptionNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

// The filter makes the parser return all subcommands, also those that weren't used.
std::vector<std::string> SubcommandNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(each->get_name());
  }
  return names;
}

// A suggestion to end a message with.
std::string Meant(const std::string& word, const std::vector<std::string>& candidates) {
  const std::string nearest = NearestWord(word, candidates);
  return nearest.empty() ? "" : "; did you mean " + nearest + "?";
}

// A single dash isn't: by custom it means standard input.
bool IsOption(const std::string& word) {
  return word.size() > 1 && word.front() == '-';
}

// "--name=" with nothing after the equals sign; "--=" is no option at all.
bool IsEmptyValue(std::string_view word) {
  return word.starts_with("--") && word.size() > 3 && word.find('=') == word.size() - 1;
}

// Whether there are words that aren't options, as in `describe FRAME`.
bool TakesArguments(const CLI::App& app) {
  return !app.get_options([](const CLI::Option* option) { return option->get_positional(); }).empty();
}

}  // namespace

std::string UnexpectedWords(const CLI::App& app) {
  std::vector<std::string> words = app.remaining();
  const std::vector<std::string> subcommands = SubcommandNames(app);
  const auto end = std::find(words.begin(), words.end(), kEndOfOptions);
  // An unknown option is reported before other words, even earlier ones: those after it may be its values.
  const auto option = std::find_if(words.begin(), end, IsOption);
  if (option != end) {
    const std::string name = option->substr(0, option->find('='));
    const std::string who = subcommands.empty() ? app.get_name() + " has no option " : "there is no option ";
    return who + QuotedWord(name) + Meant(name, OptionNames(app));
  }
  // The parser leaves "--" among the words; where arguments can follow, it is in its place.
  if (end != words.end() && TakesArguments(app)) words.erase(end);
  if (words.empty()) return "";
  const std::string& word = words.front();
  // Before a subcommand the word was meant to be one; after it, it is one argument too many.
  const bool lacksSubcommand = !subcommands.empty() && app.get_subcommands().empty();
  if (!lacksSubcommand || word == kEndOfOptions) return QuotedWord(word) + " isn't expected";
  return QuotedWord(word) + " is no subcommand" + Meant(word, subcommands);
}

std::string ParseErrorWords(const CLI::App& app, const CLI::ParseError& error) {
  // Other errors come from our own validators, with our own texts. This one is the wrong number of values;
  // its text starts with the name of the option.
  std::string what = error.what();
  if (error.get_name() != "ArgumentMismatch") return what;
  std::string name = what.substr(0, what.find_first_of(": "));
  if (!IsOption(name))
    name = "--" + name;  // the parser leaves out the dashes of a flag that was given a value
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
  // The program itself has no arguments either, but there "--" precedes a subcommand: UnexpectedWords()
  // reports it.
  const bool isOptionsOnly = SubcommandNames(app).empty() && !TakesArguments(app);
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (IsEmptyValue(word)) return std::string(word.substr(0, word.size() - 1)) + ": the value is empty";
    // Whatever follows "--" is an argument and can't be overlooked.
    if (word != kEndOfOptions) continue;
    return isOptionsOnly ? QuotedWord(word) + " isn't expected: " + app.get_name() + " takes options only"
                         : "";
  }
  return "";
}
