#pragma once

#include <cstddef>
#include <string>

#include "host/model/Dictionary.h"

// ColumnFacts is what is known about a column of a file, over all its rows: enough to make its dictionary
// entry.
//
// Variables are doubles or strings, while columns have many types. The rule is that no value may change. A
// type whose values all fit a double is numeric; 64-bit and larger integers and long decimals are numeric
// only if the values in this file fit, and else strings of their digits. Dates, times, identifiers and
// enumerations are strings, as DuckDB prints them. Lists, structures and blobs have no text that a sample
// could use: the column is left out, with a warning.
struct ColumnFacts {
  enum class Kind { kInteger, kDecimal, kFloating, kBoolean, kText, kLeftOut };

  std::string name;
  std::string type;  // SQL type
  Kind kind = Kind::kText;
  int decimals = 0;     // of a kDecimal
  bool isExact = true;  // each number comes back from a double with the same digits
  double least = 0.0;   // of the finite numbers; 0 when there are none
  double greatest = 0.0;
  std::size_t longest = 0;  // bytes of the longest value as text; 0 where nobody needs it
};

// The facts that the SQL type alone settles: the kind, and the decimals of a DECIMAL.
ColumnFacts FactsOfType(const std::string& name, const std::string& type);

// Decimal numbers of up to this many digits in all come back from a double unchanged.
inline constexpr int kSafeDigits = 15;
// The p of a DECIMAL(p,s): its digits in all. 0 for another type.
int DecimalPrecision(const std::string& type);

// The variable of a column that no dictionary describes: as a number, as a string, or as what its kind and
// isExact suggest. A number's format is as wide as its widest value, but 8 to 40; a string is as wide as its
// longest text. REQUIRES: the column isn't left out.
KORV_Variable NumericVariable(const ColumnFacts& facts);
KORV_Variable StringVariable(const ColumnFacts& facts);
KORV_Variable VariableOf(const ColumnFacts& facts);
