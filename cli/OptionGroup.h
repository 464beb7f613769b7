#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

#include "cli/HelpPage.h"

// What the subcommands share to declare and check their options.

// Headings of the help page that several subcommands have.
inline constexpr const char* kFrameGroup = "THE FRAME";
inline constexpr const char* kHelpGroup = "HELP";
inline constexpr const char* kArgumentsGroup = "ARGUMENTS";

// Declares options under one heading of the help page. `type` names the value there, as FILE or N. Every
// option may be given once, except those of AddList() and AddRepeated().
class OptionGroup {
public:
  OptionGroup(CLI::App& app, const char* name) : fApp(app), fpName(name) {}

  CLI::Option* Add(const char* name, std::string& value, const char* type, const char* help) {
    return Settle(fApp.add_option(name, value, help), type);
  }
  CLI::Option* Add(const char* name, int& value, const char* type, const char* help) {
    return Settle(fApp.add_option(name, value, help), type);
  }
  // A list with commas, a repeated option, or both.
  CLI::Option* AddList(const char* name, std::vector<std::string>& values, const char* type,
                       const char* help) {
    return AddRepeated(name, values, type, help)->delimiter(',')->transform(TrimmedEntry());
  }
  // Each use of the option takes exactly one word: the parser's default would take all words that follow.
  CLI::Option* AddRepeated(const char* name, std::vector<std::string>& values, const char* type,
                           const char* help) {
    return Settle(fApp.add_option(name, values, help), type)
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }
  // A flag takes no value, not even "=true".
  void AddFlag(const char* name, bool& value, const std::string& help) {
    fApp.add_flag(name, value, help)->group(fpName)->disable_flag_override();
  }

private:
  // Removes the blanks around an entry of a list, as in "a, b".
  static CLI::Validator TrimmedEntry();
  CLI::Option* Settle(CLI::Option* option, const char* type);

  CLI::App& fApp;
  const char* fpName;
};

// A validator from a test; the message is "'WORD' isn't WHAT".
CLI::Validator Allowed(const char* what, bool (*isAllowed)(const std::string&));

// The options that every subcommand has, and its page.
void AddHelp(CLI::App& app, const HelpPage& page);

// For subcommands with one argument: without it `otherwise` is reported, unless an unexpected word explains
// what happened to it.
std::string UnexpectedOrNothing(const CLI::App& app, const std::string& path, const std::string& otherwise);
