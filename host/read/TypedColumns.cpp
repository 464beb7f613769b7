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

// One message for all columns: a file of nested data may have many.
void WarnOfLeftOutColumns(const std::string& file, const std::vector<std::string>& columns) {
  if (columns.empty()) return;
  IssueHostMessage(fmt::format("{}: nested values and blobs can't be variables; left out: {}", file,
                               fmt::join(columns, ", ")),
                   kWarningLevel);
}

namespace {

using Kind = ColumnFacts::Kind;

// Whole numbers of these types can have more digits than a double keeps.
bool IsWideInteger(const std::string& type) {
  return type == "BIGINT" || type == "UBIGINT" || type == "HUGEINT" || type == "UHUGEINT";
}

bool MayLoseDigits(const TypedColumn& column) {
  return IsWideInteger(column.type) || DecimalPrecision(column.type) > kSafeDigits;
}

// SQL of an aggregate that is true if every number of the column comes back from a double with the same
// digits. An integer is cast to DOUBLE and back. A DECIMAL is printed from its double with as many decimals
// as it has, and compared with its own text.
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

// The facts of columns are found by aggregates over all rows, at two levels of cost. The first look takes
// least and greatest values, which is cheap and settles nearly every column. Where it can't,
// NeedsCloserLook() is true, and the closer look tests every value. Both give four aggregates a column, in
// the order in which ReadFacts() reads them: exact, least, greatest, longest text.
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

// Whether the bounds of the first look leave something open. A bound that isn't finite hides the finite ones;
// and where the bounds have more digits than a double keeps, some numbers may come back from it and others
// not.
bool NeedsCloserLook(const TypedColumn& column, const ColumnFacts& facts) {
  const double farthest = std::max(-facts.least, facts.greatest);
  if (facts.kind == Kind::kFloating) return !std::isfinite(facts.least) || !std::isfinite(facts.greatest);
  if (!MayLoseDigits(column)) return false;
  return facts.kind == Kind::kDecimal ? !(farthest < std::pow(10.0, kSafeDigits - facts.decimals))
                                      : !(farthest < kExactIntegers);
}

// Reads the four aggregates of a column, which begin at column `at` of the result. A null means that the
// column has no value, or that nobody asked.
void ReadFacts(const DuckChunk& row, std::size_t at, ColumnFacts* facts) {
  facts->isExact = row.IsNull(at, 0) || row.Values<bool>(at)[0];
  facts->least = row.IsNull(at + 1, 0) ? 0.0 : row.Values<double>(at + 1)[0];
  facts->greatest = row.IsNull(at + 2, 0) ? 0.0 : row.Values<double>(at + 2)[0];
  facts->longest = row.IsNull(at + 3, 0) ? 0 : static_cast<std::size_t>(row.Values<std::int64_t>(at + 3)[0]);
}

// Small integers and truth values are never shown wider than the narrowest format, so their bounds don't
// matter.
bool NeedsNoScan(const std::string& type) {
  return type == "BOOLEAN" || type == "TINYINT" || type == "UTINYINT" || type == "SMALLINT" ||
         type == "USMALLINT";
}

// Makes one relation: construct, Make(), discard. Borrows its arguments.
class RelationMaker {
public:
  RelationMaker(WorkDatabase& work, const TypedSource& source, const SchemaRules& rules, bool trusted)
      : fWork(work),
        fName(source.name),
        fFrom(source.from),
        fColumns(source.columns),
        fRules(rules),
        fbTrusted(trusted) {
    for (const TypedColumn& column : fColumns) fvFacts.push_back(FactsOfType(column.name, column.type));
  }

  // First the names, since two columns of one name would make every later message unclear; then the facts, in
  // at most two scans; then the variables, one by one.
  CaseRelation Make() {
    CheckNames();
    Scan();
    CaseRelation relation;
    relation.name = fName;
    relation.from = fFrom;
    relation.dictionary.documents = fRules.Documents();
    std::vector<std::string> leftOut;
    for (std::size_t i = 0; i < fColumns.size(); ++i) {
      if (fvFacts[i].kind == Kind::kLeftOut) {
        leftOut.push_back(fColumns[i].name);
      } else {
        AddColumn(i, &relation);
      }
    }
    WarnOfLeftOutColumns(fName, leftOut);
    return relation;
  }

private:
  // All names of the file are checked, also those of columns that will be left out.
  void CheckNames() const {
    std::vector<std::string> names;
    for (const TypedColumn& column : fColumns) names.push_back(column.name);
    if (!fbTrusted) fRules.CheckNames(names, fName);  // other programs drop columns and keep the dictionary
    Named(fName, [&] { CheckNamesDiffer(names); });
  }

  // The schema makes numbers or truth values of this column of texts. NumbersOfTexts() reads each of them.
  bool IsTextAsNumber(std::size_t i) const {
    const SchemaRules::Wish wish = fRules.WishFor(fColumns[i].name);
    return fvFacts[i].kind == Kind::kText &&
           (wish == SchemaRules::Wish::kNumber || wish == SchemaRules::Wish::kBoolean);
  }

  // Finds out what types and rules leave open about the columns, in at most two queries.
  void Scan() {
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < fColumns.size(); ++i) {
      if (fvFacts[i].kind == Kind::kLeftOut || IsTextAsNumber(i)) continue;
      if (NeedsNoScan(fColumns[i].type) && !WantsText(i)) continue;
      // Our own writer's dictionary: opening such a file costs no scan at all.
      if (fbTrusted && fRules.SettlesAll(fColumns[i].name)) continue;
      if (TakeBounds(i)) continue;
      open.push_back(i);
    }
    Look(open, FirstLook);
    const auto isSettled = [&](std::size_t i) { return !NeedsCloserLook(fColumns[i], fvFacts[i]); };
    open.erase(std::remove_if(open.begin(), open.end(), isSettled), open.end());
    Look(open, CloserLook);
  }

  // Whether what the file says of a column settles it.
  bool TakeBounds(std::size_t i) {
    const std::optional<ColumnBounds>& bounds = fColumns[i].bounds;
    if (!bounds || WantsText(i)) return false;
    ColumnFacts facts = fvFacts[i];
    facts.least = bounds->least;
    facts.greatest = bounds->greatest;
    facts.longest = bounds->longest;
    if (NeedsCloserLook(fColumns[i], facts)) return false;
    fvFacts[i] = facts;
    return true;
  }

  // The schema makes a string of a number: the width of its text is needed.
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
    DuckResult result = Named(fName, [&] {
      return fWork.Connect().Query(fmt::format("SELECT {} FROM {}", fmt::join(aggregates, ", "), fFrom));
    });
    const DuckChunk row = result.Fetch();
    constexpr std::size_t kAggregates = 4;  // of each column
    for (std::size_t k = 0; k < columns.size(); ++k) ReadFacts(row, k * kAggregates, &fvFacts[columns[k]]);
  }

  // Adds variable and source of a column that isn't left out.
  void AddColumn(std::size_t i, CaseRelation* relation) {
    RelationColumn source{fColumns[i].sql, fColumns[i].type};
    if (IsTextAsNumber(i)) source = NumbersOfTexts(i);
    relation->dictionary.variables.push_back(fRules.VariableFor(fvFacts[i]));
    relation->columns.push_back(std::move(source));
    // Without a schema such a column is a string of the digits; here the schema insists on a number.
    if (relation->dictionary.variables.back().GetType() == 0 && !fvFacts[i].isExact) {
      throw DataError(
          fmt::format("{}: column \"{}\" has more digits than a number keeps", fName, fColumns[i].name));
    }
  }

  // Reads all texts of a column that the schema makes numeric, checks that they fit, and returns the source
  // of the numbers. A text that doesn't fit is an error at its case, unless the schema lists it as missing.
  RelationColumn NumbersOfTexts(std::size_t i) {
    const TypedColumn& column = fColumns[i];
    const std::vector<std::string>& missing = fRules.MissingTexts(column.name);
    TextProfile profile;
    DuckConnection connection = fWork.Connect();
    DuckResult result = Named(fName, [&] {
      return connection.Stream(fmt::format("SELECT {}::VARCHAR FROM {}", column.sql, fFrom));
    });
    std::int64_t place = 0;  // number of the case
    while (const DuckChunk chunk = Named(fName, [&] { return result.Fetch(); })) {
      for (std::size_t row = 0; row < chunk.Rows(); ++row) {
        ++place;
        const std::string_view text = TextOf(chunk.Values<duckdb_string_t>(0)[row]);
        if (chunk.IsNull(0, row) || text.empty()) continue;
        const bool isMissing = std::find(missing.begin(), missing.end(), text) != missing.end();
        isMissing ? profile.AddMissing(text, place) : profile.Add(text, place);
      }
    }
    const bool isBoolean = fRules.WishFor(column.name) == SchemaRules::Wish::kBoolean;
    // Both faults of a number have the same wording here.
    const TextProfile::Culprit* culprit = isBoolean             ? profile.NotBoolean()
                                          : profile.NotNumber() ? profile.NotNumber()
                                                                : profile.NotExact();
    if (culprit != nullptr) {
      throw DataError(fmt::format("{}, case {}: \"{}\" in column \"{}\" is no {}", fName, culprit->place,
                                  culprit->text, column.name, isBoolean ? "truth value" : "number"));
    }
    // What the cast can't read is missing, by the check above.
    const char* type = isBoolean ? "BOOLEAN" : "DOUBLE";
    fvFacts[i] = FactsOfType(column.name, type);
    if (profile.AllIntegers()) fvFacts[i].kind = Kind::kInteger;
    fvFacts[i].least = profile.Least();
    fvFacts[i].greatest = profile.Greatest();
    return {fmt::format("TRY_CAST({} AS {})", column.sql, type), type};
  }

  WorkDatabase& fWork;
  const std::string& fName;  // this and the next three are borrowed
  const std::string& fFrom;
  const std::vector<TypedColumn>& fColumns;
  const SchemaRules& fRules;
  bool fbTrusted;
  std::vector<ColumnFacts> fvFacts;  // of fColumns, place by place
};

}  // namespace

std::vector<TypedColumn> DescribeColumns(WorkDatabase& work, const std::string& from) {
  std::vector<TypedColumn> columns;
  DuckResult result = work.Connect().Query("DESCRIBE SELECT * FROM " + from);
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
  for (const std::string& name : names) {  // in order, so that the first pair of the file is reported
    const auto [first, isNew] = seen.try_emplace(GetUpperVarName(name), &name);
    if (!isNew) {
      throw DataError(fmt::format("two columns are named \"{}\" and \"{}\"", *first->second, name));
    }
  }
}

CaseRelation MakeTypedRelation(WorkDatabase& work, const TypedSource& source, const SchemaRules& rules,
                               bool trusted) {
  return RelationMaker(work, source, rules, trusted).Make();
}
