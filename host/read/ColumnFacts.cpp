#include "host/read/ColumnFacts.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace {

// Numbers are shown in F8.2, the default format, or wider. A number that is wider than 40 is shown in as many
// digits as fit.
constexpr int kNarrowestNumber = 8;
constexpr int kWidestNumber = 40;
constexpr int kFloatingDecimals = 2;

// DECIMAL(p,s) as {p, s}; {0, 0} for another type.
std::array<int, 2> DecimalShape(std::string_view type) {
  constexpr std::string_view kStart = "DECIMAL(";
  std::array<int, 2> shape = {0, 0};
  if (!type.starts_with(kStart)) return shape;
  const char* const end = type.data() + type.size();
  const char* const comma = std::from_chars(type.data() + kStart.size(), end, shape[0]).ptr;
  if (comma != end) std::from_chars(comma + 1, end, shape[1]);
  return shape;
}

bool StartsWithAny(std::string_view type, std::initializer_list<std::string_view> starts) {
  return std::any_of(starts.begin(), starts.end(), [&](std::string_view s) { return type.starts_with(s); });
}

// By the name that DuckDB's DESCRIBE gives a type. An unknown one is a text: DuckDB can print any type.
ColumnFacts::Kind KindOfType(std::string_view type) {
  using Kind = ColumnFacts::Kind;
  if (type.ends_with(']') || StartsWithAny(type, {"STRUCT", "MAP(", "UNION(", "BLOB", "GEOMETRY"})) {
    return Kind::kLeftOut;  // lists and arrays are named INTEGER[], VARCHAR[3]
  }
  if (type.starts_with("DECIMAL")) return Kind::kDecimal;
  if (type == "DOUBLE" || type == "FLOAT") return Kind::kFloating;
  if (type == "BOOLEAN") return Kind::kBoolean;
  constexpr std::string_view kIntegers[] = {"TINYINT",  "SMALLINT",  "INTEGER",  "BIGINT",  "HUGEINT",
                                            "UTINYINT", "USMALLINT", "UINTEGER", "UBIGINT", "UHUGEINT"};
  const bool isInteger = std::find(std::begin(kIntegers), std::end(kIntegers), type) != std::end(kIntegers);
  return isInteger ? Kind::kInteger : Kind::kText;
}

// Characters of a number with that many decimals.
int WidthOf(double number, int decimals) {
  return static_cast<int>(fmt::formatted_size("{:.{}f}", number, decimals));
}

}  // namespace

ColumnFacts FactsOfType(const std::string& name, const std::string& type) {
  ColumnFacts facts;
  facts.name = name;
  facts.type = type;
  facts.kind = KindOfType(type);
  facts.decimals = DecimalShape(type)[1];
  return facts;
}

int DecimalPrecision(const std::string& type) {
  return DecimalShape(type)[0];
}

// Whole numbers are shown without decimals, decimals with as many as their type has, others with two.
KORV_Variable NumericVariable(const ColumnFacts& facts) {
  KORV_Variable variable(facts.name, 0);
  const bool isWhole = facts.kind == ColumnFacts::Kind::kInteger || facts.kind == ColumnFacts::Kind::kBoolean;
  const bool isDecimal = facts.kind == ColumnFacts::Kind::kDecimal;
  const int decimals = isWhole ? 0 : isDecimal ? facts.decimals : kFloatingDecimals;
  // The least value may be the wider one, by its minus sign.
  const int widest = std::max(WidthOf(facts.least, decimals), WidthOf(facts.greatest, decimals));
  const int width = std::clamp(widest, kNarrowestNumber, kWidestNumber);
  variable.SetFormat(kFormatF, width, decimals);
  variable.SetWriteFormat(kFormatF, width, decimals);
  variable.SetMeasurementLevel(kLevelScale);
  variable.SetColumnType(facts.type);
  return variable;
}

KORV_Variable StringVariable(const ColumnFacts& facts) {
  KORV_Variable variable(facts.name, static_cast<int>(std::max<std::size_t>(facts.longest, 1)));
  variable.SetColumnType(facts.type);
  return variable;
}

// A decision by the values, not by the type: the next file of the same columns may come out differently.
KORV_Variable VariableOf(const ColumnFacts& facts) {
  const bool isNumeric = facts.kind != ColumnFacts::Kind::kText && facts.isExact;
  return isNumeric ? NumericVariable(facts) : StringVariable(facts);
}
