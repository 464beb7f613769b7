#include "host/data/TypedColumns.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "host/data/DuckDb.h"
#include "host/data/LeftOutColumns.h"
#include "host/data/TextProfile.h"
#include "host/text/VariableNames.h"

namespace {

using Kind = ColumnFacts::Kind;

// Integers of these types have digits that a double may lose.
bool IsWideInteger(const std::string& type) {
  return type == "BIGINT" || type == "UBIGINT" || type == "HUGEINT" || type == "UHUGEINT";
}

// SQL that is true where every number of the column comes back from a double with the same digits.
std::string ExactnessOf(const TypedColumn& column, const ColumnFacts& facts) {
  const std::string& x = column.sql;
  if (facts.kind == Kind::kInteger && IsWideInteger(column.type)) {
    const char* widest = column.type == "UHUGEINT" ? "UHUGEINT" : "HUGEINT";
    return fmt::format("bool_and(coalesce(TRY_CAST({0}::DOUBLE AS {1}) = {0}::{1}, {0} IS NULL))", x, widest);
  }
  if (facts.kind == Kind::kDecimal && DecimalPrecision(column.type) > kSafeDigits) {
    const int safeWhole = kSafeDigits - facts.decimals;  // digits before the point that are safe as well
    return fmt::format(
        "bool_and({0} IS NULL OR abs({0}) < {1} OR format('{{:.{2}f}}', {0}::DOUBLE) = {0}::VARCHAR)", x,
        safeWhole > 0 ? fmt::format("1{:0>{}}", "", safeWhole) : "0", facts.decimals);
  }
  return "true";
}

// The aggregates that tell the facts of a column, in the order in which ReadFacts() takes them.
std::string AggregatesOf(const TypedColumn& column, const ColumnFacts& facts, bool wantsText) {
  const std::string& x = column.sql;
  std::string least = "NULL::DOUBLE";
  std::string greatest = least;
  if (facts.kind == Kind::kFloating) {
    least = fmt::format("CAST(min({0}) FILTER (WHERE isfinite({0})) AS DOUBLE)", x);
    greatest = fmt::format("CAST(max({0}) FILTER (WHERE isfinite({0})) AS DOUBLE)", x);
  } else if (facts.kind == Kind::kInteger || facts.kind == Kind::kDecimal) {
    least = fmt::format("CAST(min({}) AS DOUBLE)", x);
    greatest = fmt::format("CAST(max({}) AS DOUBLE)", x);
  }
  const bool mayLoseDigits = IsWideInteger(column.type) || DecimalPrecision(column.type) > kSafeDigits;
  const bool needsText = wantsText || facts.kind == Kind::kText || mayLoseDigits;
  const std::string longest =
      needsText ? fmt::format("max(strlen({}::VARCHAR))::BIGINT", x) : std::string("NULL::BIGINT");
  return fmt::format("{}, {}, {}, {}", ExactnessOf(column, facts), least, greatest, longest);
}

void ReadFacts(const DuckChunk& row, std::size_t at, ColumnFacts* facts) {
  if (!row.IsNull(at, 0)) facts->isExact = row.Values<bool>(at)[0];
  if (!row.IsNull(at + 1, 0)) facts->least = row.Values<double>(at + 1)[0];
  if (!row.IsNull(at + 2, 0)) facts->greatest = row.Values<double>(at + 2)[0];
  if (!row.IsNull(at + 3, 0)) facts->longest = static_cast<std::size_t>(row.Values<std::int64_t>(at + 3)[0]);
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
    std::vector<std::string> upper;
    for (const std::string& name : names) upper.push_back(GetUpperVarName(name));
    std::sort(upper.begin(), upper.end());
    const auto twice = std::adjacent_find(upper.begin(), upper.end());
    if (twice != upper.end()) throw DataError(fmt::format("{}: two columns are named \"{}\"", fName, *twice));
  }

  // Texts that are to be numbers are looked at one by one instead.
  bool IsTextAsNumber(std::size_t i) const {
    const SchemaRules::Wish wish = fRules.WishFor(fColumns[i].name);
    return fvFacts[i].kind == Kind::kText &&
           (wish == SchemaRules::Wish::kNumber || wish == SchemaRules::Wish::kBoolean);
  }

  void Scan() {
    std::vector<std::string> aggregates;
    std::vector<std::size_t> scanned;
    for (std::size_t i = 0; i < fColumns.size(); ++i) {
      const bool wantsText = fRules.WishFor(fColumns[i].name) == SchemaRules::Wish::kString;
      if (fvFacts[i].kind == Kind::kLeftOut || IsTextAsNumber(i)) continue;
      if (NeedsNoScan(fColumns[i].type) && !wantsText) continue;
      if (fbTrusted && fRules.SettlesAll(fColumns[i].name)) continue;
      aggregates.push_back(AggregatesOf(fColumns[i], fvFacts[i], wantsText));
      scanned.push_back(i);
    }
    if (scanned.empty()) return;
    DuckResult result = Named([&] {
      return WorkDatabase::Current().Connect().Query(
          fmt::format("SELECT {} FROM {}", fmt::join(aggregates, ", "), fFrom));
    });
    const DuckChunk row = result.Fetch();
    constexpr std::size_t kAggregates = 4;  // of each column
    for (std::size_t k = 0; k < scanned.size(); ++k) ReadFacts(row, k * kAggregates, &fvFacts[scanned[k]]);
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

DataFrame MakeTypedFrame(const std::string& name, const std::string& from,
                         const std::vector<TypedColumn>& columns, const SchemaRules& rules, bool trusted) {
  return TypedFrameMaker(name, from, columns, rules, trusted).Make();
}
