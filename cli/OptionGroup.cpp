#include "cli/OptionGroup.h"

#include "cli/UsageWords.h"
#include "host/text/NearestWord.h"

namespace {

// Refuses an empty value, which is usually an unset variable of a script and must not pass for an option that
// wasn't given. Refuses a value that looks like an option: then the value before it was forgotten.
std::string WhyNoValue(const std::string& text) {
  if (text.empty()) return "the value is empty";
  const bool isOption =
      text.starts_with("--") && (text.size() == 2 || CLI::detail::valid_first_char(text[2]));
  return isOption ? "needs a value, and " + QuotedWord(text) + " follows" : "";
}

}  // namespace

CLI::Option* OptionGroup::Settle(CLI::Option* option, const char* type) {
  return option->group(fpName)->type_name(type)->check(CLI::Validator(WhyNoValue, ""));
}

// As a validator it may change the text, and never finds an error.
CLI::Validator OptionGroup::TrimmedEntry() {
  return {[](std::string& text) {
            CLI::detail::trim(text);
            return std::string();
          },
          ""};
}

CLI::Validator Allowed(const char* what, bool (*isAllowed)(const std::string&)) {
  return CLI::Validator(
      [=](const std::string& text) -> std::string {
        return isAllowed(text) ? "" : QuotedWord(text) + " isn't " + what;
      },
      "");
}

void AddHelp(CLI::App& app, const HelpPage& page) {
  app.set_help_flag("-h,--help", "Show this page")->group(kHelpGroup);
  app.set_version_flag("--version", "svselect " SV_VERSION, "Show the version")->group(kHelpGroup);
  app.allow_extras();  // UnexpectedWords() reports them, with a suggestion
  SetHelpPage(app, page);
}

std::string UnexpectedOrNothing(const CLI::App& app, const std::string& path, const std::string& otherwise) {
  const std::string unexpected = UnexpectedWords(app);
  return unexpected.empty() && path.empty() ? otherwise : unexpected;
}
