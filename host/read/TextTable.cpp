#include "host/read/TextTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "host/engine/DuckAppender.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/MCStopProcessor.h"
#include "host/read/TypedColumns.h"
#include "host/text/VariableNames.h"

namespace {

// Any whole number of this many characters fits a BIGINT (whose largest has 19 digits).
constexpr std::size_t kBigintDigits = 18;

// The SQL type for what the profile settled.
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
    case TextProfile::Kind::kNothing:  // a column without a value is a text of width 1
    case TextProfile::Kind::kText:
      break;
  }
  return "VARCHAR";
}

// Whole numbers are kept in the narrowest type that holds them all: it is memory, and time in each pass.
std::string StorageOf(const ColumnFacts& facts) {
  const auto fits = [&]<class T>(T) {
    using Limits = std::numeric_limits<T>;
    return facts.least >= Limits::min() && facts.greatest <= Limits::max();
  };
  if (facts.type != "BIGINT") return facts.type;
  return fits(std::int16_t{}) ? "SMALLINT" : fits(std::int32_t{}) ? "INTEGER" : "BIGINT";
}

bool IsNumeric(const TextProfile& profile) {
  const TextProfile::Kind kind = profile.Settled();
  return kind == TextProfile::Kind::kInteger || kind == TextProfile::Kind::kNumber ||
         kind == TextProfile::Kind::kBoolean;
}

}  // namespace

TextTable::TextTable(WorkDatabase& work, std::string name, std::string unit, const SchemaRules& rules)
    : fName(std::move(name)),
      fUnit(std::move(unit)),
      fRules(rules),
      fWork(work),
      fConnection(work.Connect()),
      fTable(work.UniqueName("texts")) {}

// Without Finish() the texts would stay in the database to its end.
TextTable::~TextTable() {
  fpAppender.reset();
  if (fbFinished || fMade == 0) return;
  try {
    fConnection.Run("DROP TABLE " + fTable);
  } catch (const DataError&) {
    // The table goes with the database.
  }
}

std::size_t TextTable::AddColumn(const std::string& columnName, std::int64_t place) {
  const std::string upper = GetUpperVarName(columnName);
  for (const Column& column : fvColumns) {
    if (column.upperName != upper) continue;
    throw DataError(fmt::format("{}, {} {}: two columns are named \"{}\" and \"{}\"", fName, fUnit, place,
                                column.name, columnName));
  }
  CloseAppender();  // an appender can't live through a change of its table
  Column column;
  column.name = columnName;
  column.upperName = upper;
  column.sqlName = fmt::format("c{}", fvColumns.size());
  column.missingTexts = fRules.MissingTexts(columnName);
  fvColumns.push_back(std::move(column));
  return fvColumns.size() - 1;
}

void TextTable::Run(const std::string& sql) {
  Named(fName, [&] { fConnection.Run(sql); });
}

// Brings texts_N up to date with the columns that are known.
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

// Kept as a copy: a reader's text is gone with its record, and JSON's columns come in any order.
void TextTable::Set(std::size_t column, std::string_view text, bool isString) {
  Column& target = fvColumns[column];
  target.text.assign(text);
  target.isSet = !text.empty();
  target.isString = isString;
}

// Each value goes to its column's profile and to the table.
void TextTable::EndRow(std::int64_t place) {
  if (fvColumns.empty()) throw DataError(fmt::format("{}, {} {}: no value at all", fName, fUnit, place));
  if (fpAppender == nullptr) OpenAppender();
  for (std::size_t i = 0; i < fvColumns.size(); ++i) {
    Column& column = fvColumns[i];
    if (!column.isSet) {
      fpAppender->SetNull(i);
      continue;
    }
    // Compared as written: a list of missing values says how they are spelt in the file.
    const auto& missing = column.missingTexts;
    if (std::find(missing.begin(), missing.end(), column.text) != missing.end()) {
      column.profile.AddMissing(column.text, place);
    } else if (column.isString) {
      column.profile.AddString(column.text, place);
    } else {
      column.profile.Add(column.text, place);
    }
    fpAppender->SetText(i, column.text);
    column.isSet = false;
  }
  const bool isBlockEnd = Named(fName, [&] { return fpAppender->EndRow(); });
  if (isBlockEnd) CheckNotStopped();
}

// Asked once a block of rows: loading a large file must end soon after a stop request.
void TextTable::CheckNotStopped() const {
  if (StopRequested()) throw DataError(fmt::format("{}: stopped", fName));
}

// Called for the first row after a change of the columns.
void TextTable::OpenAppender() {
  MakeColumns();
  const std::vector<duckdb_type> types(fvColumns.size(), DUCKDB_TYPE_VARCHAR);
  fpAppender = Named(fName, [&] { return std::make_unique<DuckAppender>(fConnection, fTable, types); });
}

// Brings all rows so far to texts_N. A stop request is also seen here, for files of less than a block.
void TextTable::CloseAppender() {
  if (fpAppender == nullptr) return;
  CheckNotStopped();
  Named(fName, [&] { fpAppender->Close(); });
  fpAppender.reset();
}

// Refuses the first value that can't be of the type that the schema asks for.
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

// Steps 1 and 2 of the header: what the values are, and what the schema makes of them.
ColumnFacts TextTable::FactsOf(const Column& column) const {
  const TextProfile& profile = column.profile;
  ColumnFacts facts = FactsOfType(column.name, TypeOf(profile));
  const SchemaRules::Wish wish = fRules.WishFor(column.name);
  CheckWish(column, wish);
  if (wish == SchemaRules::Wish::kBoolean) facts = FactsOfType(column.name, "BOOLEAN");
  if (wish == SchemaRules::Wish::kNumber && !IsNumeric(profile)) {
    // The values are numbers, as CheckWish() has seen, but have leading zeros; or all of them are missing.
    facts = FactsOfType(
        column.name, profile.AllIntegers() && profile.LongestText() <= kBigintDigits ? "BIGINT" : "DOUBLE");
  }
  // Dates and times are strings already, and keep their types.
  if (wish == SchemaRules::Wish::kString && IsNumeric(profile)) facts = FactsOfType(column.name, "VARCHAR");
  // Too long for a BIGINT, but still shown without decimals.
  if (facts.type == "DOUBLE" && profile.AllIntegers()) facts.kind = ColumnFacts::Kind::kInteger;
  facts.least = profile.Least();
  facts.greatest = profile.Greatest();
  facts.longest = profile.LongestText();
  return facts;
}

// Steps 3 and 4: the cast.
TextTable::Typed TextTable::Settle(const Column& column) const {
  const ColumnFacts facts = FactsOf(column);
  Typed typed{fRules.VariableFor(facts), "VARCHAR", column.sqlName};
  // Only values that the schema lists as missing can fail the cast. TRY_CAST makes null of them.
  if (typed.variable.GetType() == 0) {
    typed.type = StorageOf(facts);
    typed.sql = fmt::format("TRY_CAST({} AS {})", column.sqlName, typed.type);
  } else if (facts.type != "VARCHAR" && !column.profile.AnyMissing()) {
    typed.type = facts.type;
    typed.sql = fmt::format("CAST({} AS {})", column.sqlName, facts.type);
  } else {
    typed.variable.SetColumnType("VARCHAR");
  }
  return typed;
}

// Schema and columns are compared before the table is made: a slip in the schema shouldn't cost the time for
// that.
TextTable::Settled TextTable::SettleAll() const {
  Settled all;
  all.relation.name = fName;
  all.relation.dictionary.documents = fRules.Documents();
  std::vector<std::string> names;
  for (const Column& column : fvColumns) {
    names.push_back(column.name);
    if (column.isNested) {
      all.leftOut.push_back(column.name);
      continue;
    }
    Typed typed = Settle(column);
    all.list += fmt::format("{}{} AS {}", all.list.empty() ? "" : ", ", typed.sql, column.sqlName);
    all.relation.columns.push_back({column.sqlName, typed.type});
    all.relation.dictionary.variables.push_back(std::move(typed.variable));
  }
  fRules.CheckNames(names, fName);
  return all;
}

// Makes cases_N and returns its number of rows.
std::int64_t TextTable::MakeCases(const std::string& list, const std::string& from, CaseRelation* relation) {
  relation->from = fWork.UniqueName("cases");
  return Named(fName, [&] {
    DuckResult made =
        fConnection.Query(fmt::format("CREATE TABLE {} AS SELECT {} FROM {}", relation->from, list, from));
    relation->held = fWork.Hold("DROP TABLE " + relation->from);
    return made.Fetch().Values<std::int64_t>(0)[0];
  });
}

CaseRelation TextTable::Finish() {
  CloseAppender();
  Settled all = SettleAll();
  WarnOfLeftOutColumns(fName, all.leftOut);
  if (fvColumns.empty()) {
    all.relation.from = kNoCases;
    return std::move(all.relation);
  }
  MakeColumns();                                  // for a file without rows
  if (all.list.empty()) all.list = "true AS c0";  // cases without a variable
  MakeCases(all.list, fTable, &all.relation);
  Run(fmt::format("DROP TABLE {}", fTable));
  fbFinished = true;
  return std::move(all.relation);
}

std::vector<std::vector<std::string>> TextTable::MissingTexts() const {
  std::vector<std::vector<std::string>> texts;
  texts.reserve(fvColumns.size());
  for (const Column& column : fvColumns) texts.push_back(column.missingTexts);
  return texts;
}

// DuckDB reads numbers as such, which is faster than a cast and gives the same; but a text that means a missing
// value would fail there.
CaseRelation TextTable::FinishPlain(PlainText text) {
  for (std::size_t i = 0; i < fvColumns.size(); ++i) fvColumns[i].profile = std::move(text.profiles[i]);
  Settled all = SettleAll();
  std::vector<std::string> types;
  for (std::size_t i = 0; i < fvColumns.size(); ++i) {
    const bool isNumber = IsNumeric(fvColumns[i].profile) && all.relation.columns[i].type != "BOOLEAN";
    const bool isRead = isNumber && !fvColumns[i].profile.AnyMissing();
    types.push_back(isRead ? all.relation.columns[i].type : "VARCHAR");
  }
  if (MakeCases(all.list, PlainTextSql(text, types), &all.relation) != text.rows) {
    throw DataError(fmt::format("{}: DuckDB finds other records", fName));
  }
  return std::move(all.relation);
}
