#include "host/read/TypedColumns.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>

#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/read/TextProfile.h"
#include "host/text/VariableNames.h"

void WarnOfLeftOutColumns(const std::string& file, const std::vector<std::string>& columns) {
  if (columns.empty()) return;
  IssueHostMessage(fmt::format("{}: nested values and blobs can't be variables; left out: {}", file,
                               fmt::join(columns, ", ")),
                   kWarningLevel);
}

namespace {

using Kind = ColumnFacts::Kind;

// Integers of these types have digits that a double may lose.
bool IsWideInteger(const std::string& type) {
  return type == "BIGINT" || type == "UBIGINT" || type == "HUGEINT" || type == "UHUGEINT";
}

bool MayLoseDigits(const TypedColumn& column) {
  return IsWideInteger(column.type) || DecimalPrecision(column.type) > kSafeDigits;
}

// SQL that is true where every number of the column comes back from a double with the same digits.
std::string ExactnessOf(const TypedColumn& column, const ColumnFacts& facts) {
  const std::string& x = column.sql;
  if (IsWideInteger(column.type)) {
    const char* widest = column.type == "UHUGEINT" ? "UHUGEINT" : "HUGEINT";
    return fmt::format("bool_and(coalesce(TRY_CAST({0}::DOUBLE AS {1}) = {0}::{1}, {0} IS NULL))", x, widest);
  }
  if (DecimalPrecision(column.type) > kSafeDigits) {
    return fmt::format("bool_and({0} IS NULL OR format('{{:.{1}f}}', {0}::DOUBLE) = {0}::VARCHAR)", x,
                       facts.decimals);
  }
  return "true";
}

// The aggregates that tell the facts of a column, in the order in which ReadFacts() takes them. A first look
// at all rows is cheap and settles nearly every column; NeedsCloserLook() tells which it doesn't.
std::string FirstLook(const TypedColumn& column, const ColumnFacts& facts, bool wantsText) {
  const std::string& x = column.sql;
  const bool hasBounds =
      facts.kind == Kind::kFloating || facts.kind == Kind::kInteger || facts.kind == Kind::kDecimal;
  const std::string bounds = hasBounds ? fmt::format("CAST(min({0}) AS DOUBLE), CAST(max({0}) AS DOUBLE)", x)
                                       : "NULL::DOUBLE, NULL::DOUBLE";
  const bool needsText = wantsText || facts.kind == Kind::kText;
  return fmt::format("true, {}, {}", bounds,
                     needsText ? fmt::format("max(strlen({}::VARCHAR))", x) : "NULL::BIGINT");
}

std::string CloserLook(const TypedColumn& column, const ColumnFacts& facts, bool) {
  const std::string& x = column.sql;
  const std::string filter = facts.kind == Kind::kFloating ? fmt::format("isfinite({})", x) : "true";
  return fmt::format(
      "{0}, CAST(min({1}) FILTER (WHERE {2}) AS DOUBLE), CAST(max({1}) FILTER (WHERE {2}) AS DOUBLE), "
      "max(strlen({1}::VARCHAR))",
      ExactnessOf(column, facts), x, filter);
}

// Whether the bounds leave open what a column holds: numbers that aren't finite hide the others, and beyond
// the digits of a double each number has to be looked at.
bool NeedsCloserLook(const TypedColumn& column, const ColumnFacts& facts) {
  const double farthest = std::max(-facts.least, facts.greatest);
  if (facts.kind == Kind::kFloating) return !std::isfinite(facts.least) || !std::isfinite(facts.greatest);
  if (!MayLoseDigits(column)) return false;
  return facts.kind == Kind::kDecimal ? !(farthest < std::pow(10.0, kSafeDigits - facts.decimals))
                                      : !(farthest < kExactIntegers);
}

void ReadFacts(const DuckChunk& row, std::size_t at, ColumnFacts* facts) {
  facts->isExact = row.IsNull(at, 0) || row.Values<bool>(at)[0];
  facts->least = row.IsNull(at + 1, 0) ? 0.0 : row.Values<double>(at + 1)[0];
  facts->greatest = row.IsNull(at + 2, 0) ? 0.0 : row.Values<double>(at + 2)[0];
  facts->longest = row.IsNull(at + 3, 0) ? 0 : static_cast<std::size_t>(row.Values<std::int64_t>(at + 3)[0]);
}

// Small integers and truth values are never wider than the narrowest format.
bool NeedsNoScan(const std::string& type) {
  return type == "BOOLEAN" || type == "TINYINT" || type == "UTINYINT" || type == "SMALLINT" ||
         type == "USMALLINT";
}

class TypedFrameMaker {
public:
  TypedFrameMaker(const std::string& name, const std::string& from, const std::vector<TypedColumn>& columns,
                  const SchemaRules& rules, bool trusted)
      : fName(name), fFrom(from), fColumns(columns), fRules(rules), fbTrusted(trusted) {
    for (const TypedColumn& column : columns) fvFacts.push_back(FactsOfType(column.name, column.type));
  }

  DataFrame Make() {
    CheckNames();
    Scan();
    DataFrame frame;
    frame.relation.name = fName;
    frame.relation.from = fFrom;
    frame.dictionary.documents = fRules.Documents();
    std::vector<std::string> leftOut;
    for (std::size_t i = 0; i < fColumns.size(); ++i) {
      if (fvFacts[i].kind == Kind::kLeftOut) {
        leftOut.push_back(fColumns[i].name);
      } else {
        AddColumn(i, &frame);
      }
    }
    WarnOfLeftOutColumns(fName, leftOut);
    return frame;
  }

private:
  // What DuckDB says of a failure doesn't always name the file.
  template <class Step>
  auto Named(const Step& step) const {
    try {
      return step();
    } catch (const DataError& error) {
      throw DataError(fmt::format("{}: {}", fName, error.what()));
    }
  }

  void CheckNames() const {
    std::vector<std::string> names;
    for (const TypedColumn& column : fColumns) names.push_back(column.name);
    if (!fbTrusted) fRules.CheckNames(names, fName);  // other programs drop columns and keep the dictionary
    Named([&] { CheckNamesDiffer(names); });
  }

  // Texts that are to be numbers are looked at one by one instead.
  bool IsTextAsNumber(std::size_t i) const {
    const SchemaRules::Wish wish = fRules.WishFor(fColumns[i].name);
    return fvFacts[i].kind == Kind::kText &&
           (wish == SchemaRules::Wish::kNumber || wish == SchemaRules::Wish::kBoolean);
  }

  void Scan() {
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < fColumns.size(); ++i) {
      if (fvFacts[i].kind == Kind::kLeftOut || IsTextAsNumber(i)) continue;
      if (NeedsNoScan(fColumns[i].type) && !WantsText(i)) continue;
      if (fbTrusted && fRules.SettlesAll(fColumns[i].name)) continue;
      open.push_back(i);
    }
    Look(open, FirstLook);
    const auto isSettled = [&](std::size_t i) { return !NeedsCloserLook(fColumns[i], fvFacts[i]); };
    open.erase(std::remove_if(open.begin(), open.end(), isSettled), open.end());
    Look(open, CloserLook);
  }

  bool WantsText(std::size_t i) const {
    return fRules.WishFor(fColumns[i].name) == SchemaRules::Wish::kString;
  }

  // One query over all rows for the facts of those columns.
  void Look(const std::vector<std::size_t>& columns, decltype(FirstLook) aggregatesOf) {
    if (columns.empty()) return;
    std::vector<std::string> aggregates;
    aggregates.reserve(columns.size());
    for (const std::size_t i : columns)
      aggregates.push_back(aggregatesOf(fColumns[i], fvFacts[i], WantsText(i)));
    DuckResult result = Named([&] {
      return WorkDatabase::Current().Connect().Query(
          fmt::format("SELECT {} FROM {}", fmt::join(aggregates, ", "), fFrom));
    });
    const DuckChunk row = result.Fetch();
    constexpr std::size_t kAggregates = 4;  // of each column
    for (std::size_t k = 0; k < columns.size(); ++k) ReadFacts(row, k * kAggregates, &fvFacts[columns[k]]);
  }

  void AddColumn(std::size_t i, DataFrame* frame) {
    RelationColumn source{fColumns[i].sql, fColumns[i].type};
    if (IsTextAsNumber(i)) source = NumbersOfTexts(i);
    frame->dictionary.variables.push_back(fRules.VariableFor(fvFacts[i]));
    frame->relation.columns.push_back(std::move(source));
    if (frame->dictionary.variables.back().GetType() == 0 && !fvFacts[i].isExact) {
      throw DataError(
          fmt::format("{}: column \"{}\" has more digits than a number keeps", fName, fColumns[i].name));
    }
  }

  // The numbers that a schema sees in a column of texts.
  RelationColumn NumbersOfTexts(std::size_t i) {
    const TypedColumn& column = fColumns[i];
    const std::vector<std::string>& missing = fRules.MissingTexts(column.name);
    TextProfile profile;
    DuckConnection connection = WorkDatabase::Current().Connect();
    DuckResult result = Named(
        [&] { return connection.Stream(fmt::format("SELECT {}::VARCHAR FROM {}", column.sql, fFrom)); });
    std::int64_t place = 0;
    while (const DuckChunk chunk = Named([&] { return result.Fetch(); })) {
      for (std::size_t row = 0; row < chunk.Rows(); ++row) {
        ++place;
        const std::string_view text = TextOf(chunk.Values<duckdb_string_t>(0)[row]);
        if (chunk.IsNull(0, row) || text.empty()) continue;
        const bool isMissing = std::find(missing.begin(), missing.end(), text) != missing.end();
        isMissing ? profile.AddMissing(text, place) : profile.Add(text, place);
      }
    }
    const bool isBoolean = fRules.WishFor(column.name) == SchemaRules::Wish::kBoolean;
    const TextProfile::Culprit* culprit = isBoolean             ? profile.NotBoolean()
                                          : profile.NotNumber() ? profile.NotNumber()
                                                                : profile.NotExact();
    if (culprit != nullptr) {
      throw DataError(fmt::format("{}, case {}: \"{}\" in column \"{}\" is no {}", fName, culprit->place,
                                  culprit->text, column.name, isBoolean ? "truth value" : "number"));
    }
    const char* type = isBoolean ? "BOOLEAN" : "DOUBLE";
    fvFacts[i] = FactsOfType(column.name, type);
    if (profile.AllIntegers()) fvFacts[i].kind = Kind::kInteger;
    fvFacts[i].least = profile.Least();
    fvFacts[i].greatest = profile.Greatest();
    return {fmt::format("TRY_CAST({} AS {})", column.sql, type), type};
  }

  const std::string& fName;
  const std::string& fFrom;
  const std::vector<TypedColumn>& fColumns;
  const SchemaRules& fRules;
  bool fbTrusted;
  std::vector<ColumnFacts> fvFacts;
};

}  // namespace

std::vector<TypedColumn> DescribeColumns(const std::string& from) {
  std::vector<TypedColumn> columns;
  DuckResult result = WorkDatabase::Current().Connect().Query("DESCRIBE SELECT * FROM " + from);
  while (const DuckChunk chunk = result.Fetch()) {
    for (std::size_t row = 0; row < chunk.Rows(); ++row) {
      const std::string name(TextOf(chunk.Values<duckdb_string_t>(0)[row]));
      columns.push_back(
          {name, QuoteIdentifier(name), std::string(TextOf(chunk.Values<duckdb_string_t>(1)[row]))});
    }
  }
  return columns;
}

void CheckNamesDiffer(const std::vector<std::string>& names) {
  std::unordered_map<std::string, const std::string*> seen;  // by the names in upper case
  for (const std::string& name : names) {
    const auto [first, isNew] = seen.try_emplace(GetUpperVarName(name), &name);
    if (!isNew) {
      throw DataError(fmt::format("two columns are named \"{}\" and \"{}\"", *first->second, name));
    }
  }
}

DataFrame MakeTypedFrame(const std::string& name, const std::string& from,
                         const std::vector<TypedColumn>& columns, const SchemaRules& rules, bool trusted) {
  return TypedFrameMaker(name, from, columns, rules, trusted).Make();
}
