#include "cli/HelpPage.h"

#include "host/text/DisplayText.h"

namespace {

constexpr int kPageWidth = 79;  // columns, as manual pages have them on a terminal
constexpr int kIndent = 2;
constexpr int kTermColumns = 26;  // what an option is called; its description stands right of it

std::string Blanks(int count) {
  return std::string(static_cast<std::size_t>(count), ' ');
}

std::string Paragraph(const std::string& text) {
  std::string lines;
  for (const std::string& line : WrapText(text, kPageWidth - kIndent)) lines += Blanks(kIndent) + line + "\n";
  return lines;
}

// A term, and its description beside it; below it when the term is too long.
std::string Entry(const std::string& term, const std::string& description) {
  std::string text = Blanks(kIndent) + term;
  int column = kIndent + DisplayWidth(term);
  for (const std::string& line : WrapText(description, kPageWidth - kTermColumns)) {
    if (column >= kTermColumns) {
      text += "\n";
      column = 0;
    }
    text += Blanks(kTermColumns - column) + line;
    column = kPageWidth;
  }
  return text + "\n";
}

std::string Term(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : option.get_snames()) names += (names.empty() ? "-" : ", -") + name;
  for (const std::string& name : option.get_lnames()) names += (names.empty() ? "--" : ", --") + name;
  if (names.empty()) return option.get_name(true);
  return option.get_expected_max() > 0 ? names + " " + option.get_type_name() : names;
}

std::string Options(const CLI::App& app) {
  std::string text;
  for (const std::string& group : app.get_groups()) {
    text += "\n" + group + "\n";
    for (const CLI::Option* option :
         app.get_options([&](const CLI::Option* each) { return each->get_group() == group; })) {
      text += Entry(Term(*option), option->get_description());
    }
  }
  return text;
}

std::string Subcommands(const CLI::App& app) {
  std::string text;
  for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; })) {
    text += Entry(each->get_name(), each->get_description());
  }
  return text.empty() ? "" : "\nSUBCOMMANDS\n" + text;
}

std::string PageText(const CLI::App& app, const HelpPage& page) {
  const CLI::App* parent = app.get_parent();
  const std::string name = (parent == nullptr ? "" : parent->get_name() + " ") + app.get_name();
  std::string text = "NAME\n" + Paragraph(name + " - " + app.get_description()) + "\nSYNOPSIS\n";
  for (const std::string& line : page.synopsis) {
    text.append(Blanks(kIndent)).append(name).append(" ").append(line).append("\n");
  }
  text += "\nDESCRIPTION\n" + Paragraph(page.description);
  return text + Subcommands(app) + Options(app) + "\n" + page.after;
}

}  // namespace

void SetHelpPage(CLI::App& app, const HelpPage& page) {
  app.formatter_fn([page](const CLI::App* shown, const std::string&, CLI::AppFormatMode) {
    return PageText(*shown, page);
  });
}
