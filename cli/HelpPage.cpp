#include "cli/HelpPage.h"

#include "host/text/DisplayText.h"

// A page looks like this, in 79 columns:
//
//   NAME
//     svselect plan - describe a sampling plan in words
//
//   SYNOPSIS
//     svselect plan PLAN [--data FRAME [--schema FILE]]
//
//   DESCRIPTION
//     ...
//
//   THE FRAME
//     --data FRAME            Data file to check the plan against
//
// tools/check-docs reads the options from these pages: an option starts a line after two blanks.

namespace {

constexpr int kPageWidth = 79;  // columns; fits a terminal of 80
constexpr int kIndent = 2;
constexpr int kTermColumns = 26;  // for the names of an option; its description starts after them

std::string Blanks(int count) {
  return std::string(static_cast<std::size_t>(count), ' ');
}

// Folds a text to the page; each line is indented.
std::string Paragraph(const std::string& text) {
  std::string lines;
  for (const std::string& line : WrapText(text, kPageWidth - kIndent)) lines += Blanks(kIndent) + line + "\n";
  return lines;
}

// A term with its description to the right, or from the next line on if the term is too long.
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

// "-h, --help", "--data FRAME", or the bare name of an argument.
std::string Term(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : option.get_snames()) names += (names.empty() ? "-" : ", -") + name;
  for (const std::string& name : option.get_lnames()) names += (names.empty() ? "--" : ", --") + name;
  if (names.empty()) return option.get_name(true);
  return option.get_expected_max() > 0 ? names + " " + option.get_type_name() : names;
}

// One section for each group, in the order in which the groups were first used.
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

// Empty if there are none.
std::string Subcommands(const CLI::App& app) {
  std::string text;
  for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; })) {
    text += Entry(each->get_name(), each->get_description());
  }
  return text.empty() ? "" : "\nSUBCOMMANDS\n" + text;
}

// The whole page. A subcommand is named after the program, as the user calls it.
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
  // The parser would indent and fold by rules of its own; this replaces its formatter as a whole.
  app.formatter_fn([page](const CLI::App* shown, const std::string&, CLI::AppFormatMode) {
    return PageText(*shown, page);
  });
}
