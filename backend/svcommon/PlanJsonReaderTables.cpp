#include <fmt/format.h>

#include <filesystem>

#include "backend/svcommon/PlanJsonReader.h"
#include "backend/svcommon/PlanReadErrors.h"
#include "host/environment/HostErrors.h"
#include "host/files/ReadableFile.h"
#include "host/model/Values.h"
#include "host/read/CsvReader.h"
#include "host/text/NearestWord.h"
#include "host/text/TextConversion.h"

// Sizes and rates of a JSON plan: a number, a variable, or a table in the plan or in a CSV file.

using SV_XML::kPlanBadCategoryList;
using SV_XML::kPlanBadMatrixVariable;
using SV_XML::kPlanInvalidFile;
using SV_XML::kPlanNoSizeOrRate;

void PlanJsonReader::ReadRequest(Index value) {
  SVPlanStageSpecs& stage = Stage();
  if (fJson.Kind(value) == JsonKind::kNumber) {
    stage.paramSource = kParamByValue;
    stage.paramValue = fJson.Number(value);
    return Fault(ValueFault(stage.paramKind, stage.paramValue, std::string(fJson.Written(value))), value);
  }
  const std::string of = stage.paramKind == kParamSize ? "'n'" : "'rate'";
  const Values found = FindMembers(value, RequestMembers(), of.c_str());
  const Index variable = found[0];
  const Index by = found[1];
  const Index rows = found[2];
  const Index file = found[3];
  const bool isTable = by != 0 && (rows == 0) != (file == 0);
  if (variable != 0 && by == 0 && rows == 0 && file == 0) {
    stage.paramSource = kParamByVarName;
    ReadName(variable, &stage.paramVariable);
  } else if (variable == 0 && isTable) {
    stage.paramSource = kParamByVarCatList;
    ReadTable(by, rows, file);
  } else {
    Fault(kPlanInvalidFile, value, of + " has either 'variable', or 'by' and 'rows', or 'by' and 'table'");
  }
}

// REQUIRES: one of `rows` and `file` is given, the other is 0.
void PlanJsonReader::ReadTable(Index by, Index rows, Index file) {
  if (!ReadTableVariables(by)) return;
  if (rows != 0) {
    for (const Index row : fJson.Entries(rows)) ReadRow(row);
  } else {
    const std::string path(fJson.Text(file));
    try {
      ReadTableFile(file, path);
    } catch (const DataError& error) {
      Fault(kPlanInvalidFile, file, fmt::format("the table can't be read: {}", error.what()));
    }
  }
  if (fCode == 0 && Stage().paramMatrix.getMapSize() == 0)
    Fault(kPlanNoSizeOrRate, rows + file, "the table has no rows");
  CheckRepeatedRows();
}

// False if the variables are such that rows mean nothing.
bool PlanJsonReader::ReadTableVariables(Index by) {
  const std::vector<Index> entries = fJson.Entries(by);
  if (entries.empty()) Fault(kPlanBadMatrixVariable, by, "'by' names no variable");
  if (entries.size() > kMaxPlanListVariables)
    Fault(kPlanInvalidFile, entries[kMaxPlanListVariables], "the list has too many variables");
  if (entries.empty() || entries.size() > kMaxPlanListVariables) return false;
  for (const Index entry : entries) {
    if (fJson.Kind(entry) != JsonKind::kText) {
      Fault(kPlanInvalidFile, entry, "the name of a variable is a text, in quotes");
      continue;
    }
    const KorvVarName name{std::string(fJson.Text(entry))};
    NoteUse(entry);
    Stage().paramMatrix.addVarName(name);
    Fault(TableVariableFault(*fpPlan, fStage, name), entry);
  }
  return true;
}

// A row that isn't what it should be is left out: the plan is refused, but can still be shown.
void PlanJsonReader::ReadRow(Index row) {
  VarCatList& table = Stage().paramMatrix;
  std::vector<Index> entries;
  if (fJson.Kind(row) == JsonKind::kList) entries = fJson.Entries(row);
  if (entries.size() != table.VariableCount() + 1) {
    return Fault(
        kPlanBadCategoryList, row,
        fmt::format(
            "a row is a list of {} and a number, and this has {}",
            table.VariableCount() == 1 ? "a category" : fmt::format("{} categories", table.VariableCount()),
            fJson.Kind(row) == JsonKind::kList
                ? fmt::format("{} {}", entries.size(), entries.size() == 1 ? "entry" : "entries")
                : "no entries"));
  }
  VarCatList::CatList categories;
  const Index number = entries.back();
  entries.pop_back();
  for (const Index entry : entries) {
    if (!ReadCategory(entry, &categories.emplace_back()))
      return Fault(kPlanBadCategoryList, entry, "a category is a text in quotes, or a number");
  }
  if (fJson.Kind(number) != JsonKind::kNumber)
    return Fault(kPlanInvalidFile, number, "the last entry of a row is a number, without quotes");
  const double value = fJson.Number(number);
  Fault(ValueFault(Stage().paramKind, value, std::string(fJson.Written(number))), number);
  fvTables[static_cast<std::size_t>(fStage) - 1].rows.push_back(row);
  table.addCatList(std::move(categories), value);
}

// The text of a category. A whole number keeps its digits, which may be more than a double holds; another
// number gets the shortest text, so that 0.50 and 0.5 are the same category.
bool PlanJsonReader::ReadCategory(Index value, std::string* category) {
  if (fJson.Kind(value) == JsonKind::kText) {
    *category = fJson.Text(value);
    return true;
  }
  if (fJson.Kind(value) != JsonKind::kNumber) return false;
  const std::string_view written = fJson.Written(value);
  const bool isWhole = written.find_first_of(".eE") == std::string_view::npos;
  *category = isWhole && written != "-0" ? std::string(written) : NumberText(fJson.Number(value));
  return true;
}

void PlanJsonReader::CheckRepeatedRows() {
  const std::string& file = fvTables[static_cast<std::size_t>(fStage) - 1].file;
  const std::vector<std::int64_t>& places = fvTables[static_cast<std::size_t>(fStage) - 1].rows;
  for (const auto& [row, earlier] : RepeatedRows(Stage().paramMatrix)) {
    const std::string what = RepeatedRowText(static_cast<int>(row) + 1, static_cast<int>(earlier) + 1, true);
    if (file.empty()) {
      Fault(kPlanInvalidFile, static_cast<Index>(places[row]), what);
    } else {
      FaultInTable(kPlanInvalidFile, places[row], what);
    }
  }
}

// --- tables in CSV files ----------------------------------------------------------------------------------

void PlanJsonReader::FaultInTable(int code, std::int64_t line, const std::string& what) {
  if (fCode == 0) fCode = code;
  fFaults.Add(Line(fvTables[static_cast<std::size_t>(fStage) - 1].file,
                   {.line = static_cast<std::uint64_t>(line), .column = 0}, what));
}

// Why a path isn't one beside the plan; empty if it is.
std::string PlanJsonReader::CheckTablePath(std::string_view path) const {
  const std::filesystem::path relative(path);
  if (path.empty() || path.find('\0') != std::string_view::npos) return "the table has no name";
  if (relative.is_absolute()) return "a table is in the plan's folder or below it, and has no absolute path";
  for (const std::filesystem::path& part : relative) {
    if (part == "..") return "a table is in the plan's folder or below it";
  }
  return "";
}

// Encodings as in a frame.
TextForm PlanJsonReader::TableForm(const std::string& path) {
  TextForm form = FindTextForm(path);
  std::string bytes;
  std::string why;
  if (form != TextForm() || !ReadWholeFile(path, &bytes, &why)) return form;
  if (FindInvalidUtf8(bytes) != std::string::npos && IsWindows1252(path, false))
    form.encoding = TextEncoding::kWindows1252;
  return form;
}

// A comma, or else what the first line has instead; spreadsheets of some countries split at semicolons. A first
// line can also name the delimiter: sep=;
PlanJsonReader::TableDelimiter PlanJsonReader::DelimiterOf(const std::string& path, const TextForm& form) {
  for (const char character : {',', '\t'}) {
    CsvReader header(path, form);
    header.SetDelimiter(character);
    try {
      if (!header.NextRecord()) break;
    } catch (const DataError&) {
      continue;
    }
    const bool isEmptyLast = header.Fields() == 2 && header.Field(1).empty();
    const std::string first = std::string(header.Field(0)) + (isEmptyLast ? std::string(1, character) : "");
    if (header.Fields() == 1 || isEmptyLast) {
      if (const char named = SeparatorLine(first); named != '\0') return {named, true};
    }
    if (header.Fields() > 1) return {character, false};
  }
  return {';', false};
}

void PlanJsonReader::ReadTableFile(Index at, const std::string& path) {
  if (const std::string why = CheckTablePath(path); !why.empty()) return Fault(kPlanInvalidFile, at, why);
  const std::filesystem::path file = std::filesystem::path(fPath).parent_path() / path;
  CheckReadableFile(file);
  std::error_code error;
  if (std::filesystem::file_size(file, error) > static_cast<std::uintmax_t>(kMaxTableBytes)) {
    throw DataError(fmt::format("{} has more than {} MB", file.string(), kMaxTableBytes >> 20));
  }
  fpPlan->tableFiles.push_back(file);
  fvTables[static_cast<std::size_t>(fStage) - 1].file = file;
  const TextForm form = TableForm(file);
  ReadTableLines(file, form, DelimiterOf(file, form));
}

void PlanJsonReader::ReadTableLines(const std::string& path, const TextForm& form, TableDelimiter delimiter) {
  VarCatList& table = Stage().paramMatrix;
  CsvReader reader(path, form);
  if (delimiter.hasOwnLine) reader.NextRecord();
  reader.SetDelimiter(delimiter.character);
  std::vector<KorvVarName> names;
  table.copyVarList(names);
  bool isFit = reader.NextRecord() && reader.Fields() == names.size() + 1;
  for (std::size_t i = 0; isFit && i < names.size(); ++i) {
    isFit = GetUpperVarName(std::string(reader.Field(i))) == GetUpperVarName(names[i].Text());
  }
  if (!isFit) {
    std::string expected;
    for (const KorvVarName& name : names) expected += name.Text() + ", ";
    return FaultInTable(
        kPlanBadMatrixVariable, 1,
        "the first line needs the names of 'by', then one for the numbers: " + expected + "n");
  }
  while (reader.NextRecord()) {
    if (reader.IsBlank()) continue;
    if (table.getMapSize() == kMaxTableRows)
      return FaultInTable(kPlanInvalidFile, reader.Line(),
                          fmt::format("the table has more than {} rows", kMaxTableRows));
    if (reader.Fields() != names.size() + 1) {
      FaultInTable(kPlanBadCategoryList, reader.Line(),
                   fmt::format("{} fields, expected {}", reader.Fields(), names.size() + 1));
      continue;
    }
    VarCatList::CatList categories;
    for (std::size_t i = 0; i < names.size(); ++i) categories.emplace_back(reader.Field(i));
    const std::string text(reader.Field(names.size()));
    double value = 0.0;
    if (!ParseNumber(text, &value)) {
      FaultInTable(kPlanInvalidFile, reader.Line(), QuotedWord(text) + " is no number with a decimal point");
      continue;
    }
    const PlanFault fault = ValueFault(Stage().paramKind, value, text);
    if (fault.code != 0) FaultInTable(fault.code, reader.Line(), fault.what);
    fvTables[static_cast<std::size_t>(fStage) - 1].rows.push_back(reader.Line());
    table.addCatList(std::move(categories), value);
  }
}
