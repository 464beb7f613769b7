#include "host/read/TextTable.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/engine/WorkDatabase.h"
#include "host/environment/MCStopProcessor.h"
#include "host/read/TypedColumns.h"
#include "host/text/VariableNames.h"

namespace {

// Whole numbers of so many digits fit a BIGINT.
constexpr std::size_t kBigintDigits = 18;

// The SQL type of a column of texts as they settled.
const char* TypeOf(const TextProfile& profile) {
  switch (profile.Settled()) {
    case TextProfile::Kind::kInteger:
      return profile.LongestText() <= kBigintDigits ? "BIGINT" : "DOUBLE";
    case TextProfile::Kind::kNumber:
      return "DOUBLE";
    case TextProfile::Kind::kBoolean:
      return "BOOLEAN";
    case TextProfile::Kind::kDate:
      return "DATE";
    case TextProfile::Kind::kTime:
      return "TIME";
    case TextProfile::Kind::kTimestamp:
      return "TIMESTAMP";
    case TextProfile::Kind::kNothing:
    case TextProfile::Kind::kText:
      break;
  }
  return "VARCHAR";
}

bool IsNumeric(const TextProfile& profile) {
  const TextProfile::Kind kind = profile.Settled();
  return kind == TextProfile::Kind::kInteger || kind == TextProfile::Kind::kNumber ||
         kind == TextProfile::Kind::kBoolean;
}

}  // namespace

TextTable::TextTable(std::string name, std::string unit, const SchemaRules& rules)
    : fName(std::move(name)),
      fUnit(std::move(unit)),
      fRules(rules),
      fConnection(WorkDatabase::Current().Connect()),
      fTable(WorkDatabase::Current().UniqueName("texts")) {}

TextTable::~TextTable() {
  duckdb_appender_destroy(&fpAppender);
}

std::size_t TextTable::AddColumn(const std::string& columnName, std::int64_t place) {
  const std::string upper = GetUpperVarName(columnName);
  for (const Column& column : fvColumns) {
    if (column.upperName != upper) continue;
    throw DataError(fmt::format("{}, {} {}: two columns are named \"{}\" and \"{}\"", fName, fUnit, place,
                                column.name, columnName));
  }
  CloseAppender();
  Column column;
  column.name = columnName;
  column.upperName = upper;
  column.sqlName = fmt::format("c{}", fvColumns.size());
  column.missingTexts = fRules.MissingTexts(columnName);
  fvColumns.push_back(std::move(column));
  return fvColumns.size() - 1;
}

void TextTable::Run(const std::string& sql) {
  try {
    fConnection.Run(sql);
  } catch (const DataError& error) {
    throw DataError(fmt::format("{}: {}", fName, error.what()));
  }
}

void TextTable::MakeColumns() {
  if (fMade == 0) {
    std::string list;
    for (const Column& column : fvColumns) list += column.sqlName + " VARCHAR, ";
    Run(fmt::format("CREATE TABLE {} ({})", fTable, list));
  } else {
    for (std::size_t i = fMade; i < fvColumns.size(); ++i) {
      Run(fmt::format("ALTER TABLE {} ADD COLUMN {} VARCHAR", fTable, fvColumns[i].sqlName));
    }
  }
  fMade = fvColumns.size();
}

void TextTable::Set(std::size_t column, std::string_view text, bool isString) {
  Column& target = fvColumns[column];
  target.text.assign(text);
  target.isSet = !text.empty();
  target.isString = isString;
}

void TextTable::EndRow(std::int64_t place) {
  if (fvColumns.empty()) throw DataError(fmt::format("{}, {} {}: no value at all", fName, fUnit, place));
  if (fpAppender == nullptr) OpenAppender();
  for (std::size_t i = 0; i < fvColumns.size(); ++i) {
    Column& column = fvColumns[i];
    const duckdb_vector vector = fChunk.Vector(i);
    if (!column.isSet) {
      duckdb_vector_ensure_validity_writable(vector);
      duckdb_validity_set_row_invalid(duckdb_vector_get_validity(vector), fChunkRows);
      continue;
    }
    const auto& missing = column.missingTexts;
    if (std::find(missing.begin(), missing.end(), column.text) != missing.end()) {
      column.profile.AddMissing(column.text, place);
    } else if (column.isString) {
      column.profile.AddString(column.text, place);
    } else {
      column.profile.Add(column.text, place);
    }
    duckdb_vector_assign_string_element_len(vector, fChunkRows, column.text.data(), column.text.size());
    column.isSet = false;
  }
  if (++fChunkRows == duckdb_vector_size()) FlushChunk();
}

void TextTable::Check(duckdb_state state) const {
  if (state == DuckDBSuccess) return;
  throw DataError(fmt::format("{}: {}", fName, CleanReason(duckdb_appender_error(fpAppender))));
}

void TextTable::OpenAppender() {
  MakeColumns();
  Check(duckdb_appender_create(fConnection.Get(), nullptr, fTable.c_str(), &fpAppender));
  duckdb_logical_type varchar = duckdb_create_logical_type(DUCKDB_TYPE_VARCHAR);
  std::vector<duckdb_logical_type> types(fvColumns.size(), varchar);
  fChunk = DuckChunk(duckdb_create_data_chunk(types.data(), types.size()));
  duckdb_destroy_logical_type(&varchar);
}

void TextTable::FlushChunk() {
  if (StopRequested()) throw DataError(fmt::format("{}: stopped", fName));
  duckdb_data_chunk_set_size(fChunk.Get(), fChunkRows);
  Check(duckdb_append_data_chunk(fpAppender, fChunk.Get()));
  duckdb_data_chunk_reset(fChunk.Get());
  fChunkRows = 0;
}

void TextTable::CloseAppender() {
  if (fpAppender == nullptr) return;
  FlushChunk();
  Check(duckdb_appender_close(fpAppender));
  duckdb_appender_destroy(&fpAppender);
}

void TextTable::CheckWish(const Column& column, SchemaRules::Wish wish) const {
  const auto refuse = [&](const TextProfile::Culprit* culprit, const char* what) {
    if (culprit == nullptr) return;
    throw DataError(fmt::format("{}, {} {}: \"{}\" in column \"{}\" {}", fName, fUnit, culprit->place,
                                culprit->text, column.name, what));
  };
  if (wish == SchemaRules::Wish::kNumber) {
    refuse(column.profile.NotNumber(), "is no number");
    refuse(column.profile.NotExact(), "has more digits than a number keeps");
  }
  if (wish == SchemaRules::Wish::kBoolean) refuse(column.profile.NotBoolean(), "is neither true nor false");
}

ColumnFacts TextTable::FactsOf(const Column& column) const {
  const TextProfile& profile = column.profile;
  ColumnFacts facts = FactsOfType(column.name, TypeOf(profile));
  const SchemaRules::Wish wish = fRules.WishFor(column.name);
  CheckWish(column, wish);
  if (wish == SchemaRules::Wish::kBoolean) facts = FactsOfType(column.name, "BOOLEAN");
  if (wish == SchemaRules::Wish::kNumber && !IsNumeric(profile)) {
    // Leading zeros, or nothing but missing values.
    facts = FactsOfType(
        column.name, profile.AllIntegers() && profile.LongestText() <= kBigintDigits ? "BIGINT" : "DOUBLE");
  }
  if (wish == SchemaRules::Wish::kString && IsNumeric(profile)) facts = FactsOfType(column.name, "VARCHAR");
  if (facts.type == "DOUBLE" && profile.AllIntegers()) facts.kind = ColumnFacts::Kind::kInteger;
  facts.least = profile.Least();
  facts.greatest = profile.Greatest();
  facts.longest = profile.LongestText();
  return facts;
}

TextTable::Typed TextTable::Settle(const Column& column) const {
  const ColumnFacts facts = FactsOf(column);
  Typed typed{fRules.VariableFor(facts), column.sqlName};
  // A text that doesn't fit the type is one that stands for a missing value; a string keeps it.
  if (typed.variable.GetType() == 0) {
    typed.sql = fmt::format("TRY_CAST({} AS {})", column.sqlName, facts.type);
  } else if (facts.type != "VARCHAR" && !column.profile.AnyMissing()) {
    typed.sql = fmt::format("CAST({} AS {})", column.sqlName, facts.type);
  } else {
    typed.variable.SetColumnType("VARCHAR");
  }
  return typed;
}

DataFrame TextTable::Finish() {
  CloseAppender();
  DataFrame frame;
  frame.relation.name = fName;
  frame.dictionary.documents = fRules.Documents();
  std::vector<std::string> names;
  std::vector<std::string> leftOut;
  std::string list;
  for (const Column& column : fvColumns) {
    names.push_back(column.name);
    if (column.isNested) {
      leftOut.push_back(column.name);
      continue;
    }
    Typed typed = Settle(column);
    list += fmt::format("{}{} AS {}", list.empty() ? "" : ", ", typed.sql, column.sqlName);
    frame.relation.columns.push_back({column.sqlName, typed.variable.ColumnType()});
    frame.dictionary.variables.push_back(std::move(typed.variable));
  }
  fRules.CheckNames(names, fName);
  WarnOfLeftOutColumns(fName, leftOut);
  frame.relation.from = WorkDatabase::Current().UniqueName("cases");
  if (fvColumns.empty()) {
    frame.relation.from = "(SELECT 1 WHERE false)";
    return frame;
  }
  MakeColumns();
  if (list.empty()) list = "true AS c0";  // cases without a variable
  Run(fmt::format("CREATE TABLE {} AS SELECT {} FROM {}", frame.relation.from, list, fTable));
  Run(fmt::format("DROP TABLE {}", fTable));
  frame.relation.held = WorkDatabase::Current().Hold("DROP TABLE " + frame.relation.from);
  return frame;
}
