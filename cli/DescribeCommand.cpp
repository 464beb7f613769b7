#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <iostream>

#include "cli/Subcommands.h"
#include "cli/Terminal.h"
#include "host/model/Dictionary.h"
#include "host/model/Values.h"
#include "host/output/OutputDocument.h"
#include "host/render/TextRenderer.h"
#include "host/text/DisplayText.h"
#include "host/text/NearestWord.h"
#include "host/text/ReadableNumber.h"
#include "session/Inspect.h"

// The dictionary of a data file, printed like this:
//
//   schools.sav: 6194 cases, 2 variables
//
//   #  Name   Type      Format  Level    Label
//   1  type   string 1  A1      nominal  Type of school
//           user-missing: 'X'
//           'E' = elementary
//           values: 'E' (4421), 'M' (1018), 'H' (755); none missing
//   2  api00  numeric   F8.0    scale
//           values: 346 to 969; 12 system-missing
//
// then the documents. Text from the file is arbitrary: it is made printable, and its width is measured in
// columns of the terminal, not bytes.

namespace {

using Row = std::array<std::string, 6>;  // number, name, type, format, level, label
constexpr const char* kIndent = "  ";
constexpr std::int64_t kFewDifferent = 12;  // values that are worth listing one by one
constexpr const char* kBelow = "        ";  // indents the lines below a variable

const char* LevelWord(int level) {
  switch (level) {
    case kLevelNominal:
      return "nominal";
    case kLevelOrdinal:
      return "ordinal";
    default:
      return "scale";
  }
}

// The format as a command would write it: "F8.2", "A12".
std::string FormatWord(const KORV_Format& format) {
  std::string word = format.type == kFormatF ? "F" : format.type == kFormatAHex ? "AHEX" : "A";
  word += std::to_string(format.width);
  if (format.type == kFormatF) word += "." + std::to_string(format.decimals);
  return word;
}

// A value as a plan or a command would write it.
std::string ValueWord(const KORV_Variable& variable, const DictionaryValue& value) {
  return variable.GetType() == 0 ? NumberText(value.number) : "'" + value.text + "'";
}

// Texts from the file are made printable before their width is measured.
Row RowOf(std::size_t index, const KORV_Variable& variable) {
  return {std::to_string(index + 1),
          PrintableText(variable.GetName()),
          variable.GetType() == 0 ? "numeric" : "string " + std::to_string(variable.GetType()),
          FormatWord(variable.GetFormat()),
          LevelWord(variable.GetMeasurementLevel()),
          PrintableText(variable.GetLabel())};
}

// Prints the columns, with the label last: it is wrapped in the columns that the terminal has left, or
// printed below if too few are left.
void PrintRow(const Row& row, const std::array<int, 6>& widths) {
  constexpr int kNarrowest = 20;  // columns that a wrapped label needs
  const std::string& label = row.back();
  std::string line;
  for (std::size_t i = 0; i + 1 < row.size(); ++i) {
    const std::string blanks(static_cast<std::size_t>(widths[i] - DisplayWidth(row[i])), ' ');
    line += kIndent;
    line += i == 0 ? blanks + row[i] : row[i] + blanks;  // numbers are aligned to the right
  }
  line += kIndent;
  const int before = DisplayWidth(line);
  const int room = TerminalWidth(STDOUT_FILENO) - before;
  if (room < std::min(kNarrowest, widths.back())) {
    std::cout << TrimRight(line) << '\n';
    if (!label.empty()) PrintFolded(std::string(kBelow) + label);
    return;
  }
  for (const std::string& part : WrapText(label, room)) {
    std::cout << TrimRight(line + part) << '\n';
    line.assign(static_cast<std::size_t>(before), ' ');
  }
}

// The lines below a variable: its user-missing values, then its value labels.
void PrintValues(const KORV_Variable& variable) {
  if (!variable.MissingValues().empty()) {
    std::string line = std::string(kBelow) + "user-missing:";
    for (const DictionaryValue& value : variable.MissingValues()) line += " " + ValueWord(variable, value);
    PrintFolded(line);
  }
  for (const ValueLabel& label : variable.ValueLabels()) {
    PrintFolded(kBelow + ValueWord(variable, label.value) + " = " + label.label);
  }
}

std::string Counted(std::int64_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

// A value of the cases: a long text is cut, since only its beginning is needed to recognise it.
std::string ShownValue(const KORV_Variable& variable, const DictionaryValue& value) {
  constexpr int kLongest = 24;  // columns
  if (variable.GetType() == 0) return NumberText(value.number);
  const std::string text = PrintableText(value.text);
  if (DisplayWidth(text) <= kLongest) return "'" + text + "'";
  return "'" + WrapText(text, kLongest - 1).front() + "\u2026'";
}

// Whether the frequencies of a variable's values say more than their range.
bool IsCategorical(const KORV_Variable& variable, const ColumnContents& contents) {
  if (contents.frequent.empty()) return false;
  return variable.GetType() > 0 || variable.GetMeasurementLevel() != kLevelScale ||
         !variable.ValueLabels().empty() || contents.different <= kFewDifferent;
}

// The valid values: the most frequent, the range, or that there are too many different texts.
std::string ValidWords(const KORV_Variable& variable, const ColumnContents& contents) {
  if (contents.valid == 0) return "none";
  if (!IsCategorical(variable, contents)) {
    return variable.GetType() > 0
               ? "too many different ones to list"
               : ReadableNumber(contents.smallest) + " to " + ReadableNumber(contents.largest);
  }
  if (contents.frequent.front().cases == 1 && contents.different > kFewDifferent)
    return std::to_string(contents.different) + " different, each once";
  std::string words;
  for (const ColumnContents::Frequency& frequency : contents.frequent) {
    if (!words.empty()) words += ", ";
    words += ShownValue(variable, frequency.value) + " (" + std::to_string(frequency.cases) + ")";
  }
  const std::int64_t others = contents.different - static_cast<std::int64_t>(contents.frequent.size());
  return others > 0 ? words + " and " + Counted(others, "other", "others") : words;
}

// The line about the cases, below what the dictionary says of a variable.
void PrintContents(const KORV_Variable& variable, const ColumnContents& contents) {
  std::string missing;
  const auto add = [&](std::int64_t cases, const char* what) {
    if (cases > 0) missing += (missing.empty() ? "" : ", ") + std::to_string(cases) + what;
  };
  add(contents.systemMissing, " system-missing");
  add(contents.blank, " blank, which a draw leaves out");
  add(contents.userMissing, " user-missing");
  PrintFolded(kBelow + ("values: " + ValidWords(variable, contents)) + "; " +
              (missing.empty() ? "none missing" : missing));
}

// "3,5", but not "1,2,3".
bool IsDecimalComma(const std::string& text) {
  const std::size_t comma = text.find(',');
  const auto isDigit = [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; };
  const std::size_t first = text.starts_with('-') ? 1 : 0;
  if (comma == text.npos || comma <= first || comma + 1 == text.size()) return false;
  const auto at = [&](std::size_t i) { return text.begin() + static_cast<std::ptrdiff_t>(i); };
  return std::all_of(at(first), at(comma), isDigit) && std::all_of(at(comma + 1), text.end(), isDigit);
}

// What a file of another country, or with another delimiter, looks like.
void TellMisreadColumns(const FrameDescription& described) {
  const std::vector<KORV_Variable>& variables = described.dictionary->variables;
  for (std::size_t i = 0; i < described.contents.size(); ++i) {
    const std::vector<ColumnContents::Frequency>& frequent = described.contents[i].frequent;
    const auto isComma = [](const ColumnContents::Frequency& f) { return IsDecimalComma(f.value.text); };
    if (frequent.empty() || !std::all_of(frequent.begin(), frequent.end(), isComma)) continue;
    TellProblem(
        variables[i].GetName() +
        " looks like numbers with decimal commas, and is read as text; a query can convert it, see the "
        "guide on text files");
  }
  const std::string& name = variables.empty() ? "" : variables.front().GetName();
  if (variables.size() == 1 && name.find_first_of(";|\t") != name.npos)
    TellProblem(
        "the only variable is " + QuotedWord(name) +
        ": the file seems to have another delimiter; name it in a first line such as sep=|, or in a query");
}

// Column widths fit the widest entry, the heading included.
void PrintVariables(const std::vector<KORV_Variable>& variables,
                    const std::vector<ColumnContents>& contents) {
  std::vector<Row> rows = {{"#", "Name", "Type", "Format", "Level", "Label"}};
  for (std::size_t i = 0; i < variables.size(); ++i) rows.push_back(RowOf(i, variables[i]));
  std::array<int, 6> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
  }
  PrintRow(rows.front(), widths);
  for (std::size_t i = 0; i < variables.size(); ++i) {
    PrintRow(rows[i + 1], widths);
    PrintValues(variables[i]);
    if (i < contents.size()) PrintContents(variables[i], contents[i]);
  }
}

// The first line alone answers the most frequent question, how many cases and variables there are.
void PrintDescription(const std::string& name, const FrameDescription& described) {
  const Dictionary& dictionary = *described.dictionary;
  std::cout << PrintableText(name) << ": " << Counted(described.cases, "case", "cases") << ", "
            << Counted(static_cast<std::int64_t>(dictionary.variables.size()), "variable", "variables")
            << '\n';
  if (!dictionary.variables.empty()) {
    std::cout << '\n';
    PrintVariables(dictionary.variables, described.contents);
  }
  for (const DocumentLines& document : dictionary.documents) {
    std::cout << "\nDocument\n";
    for (const std::string& line : document) PrintFolded(kIndent + line);
  }
}

}  // namespace

int DescribeFile(const DescribeOptions& options) {
  HostSession session;
  CatchInterrupts();
  const FrameDescription described = DescribeFrame(session, options.frame, !options.quick);
  if (described.status == RunStatus::kCancelled) {
    TellProblem("interrupted");
    return kExitInterrupted;
  }
  bool isTold = true;
  if (described.dictionary != nullptr) {
    PrintDescription(options.frame.path.empty() ? "query" : options.frame.path, described);
    if (!options.quick && described.contents.empty() && !described.dictionary->variables.empty()) {
      PrintFolded("Values are left out, since there are more than " +
                  std::to_string(FrameDescription::kMostSummarized) +
                  " variables; choose some with --sql to see theirs.");
    }
    isTold = FinishOutput();
  }
  RenderMessages(session.Layer<OutputDocument>(), std::cerr);
  for (const std::string& remark : session.Layer<OutputDocument>().Remarks()) TellProblem(remark);
  if (described.dictionary != nullptr) TellMisreadColumns(described);
  for (const std::string& problem : described.problems) TellProblem(problem);
  return described.status == RunStatus::kOk && isTold ? kExitOk : kExitError;
}
