#pragma once

#include <cstddef>
#include <string>

#include "host/model/Dictionary.h"

// What a file's column tells of itself, over all its rows: enough to make its dictionary entry.
struct ColumnFacts {
  enum class Kind { kInteger, kDecimal, kFloating, kBoolean, kText, kLeftOut };

  std::string name;
  std::string type;  // its SQL type
  Kind kind = Kind::kText;
  int decimals = 0;     // of a kDecimal
  bool isExact = true;  // each number comes back from a double with the same digits
  double least = 0.0;   // of the numbers, 0 when there are none
  double greatest = 0.0;
  std::size_t longest = 0;  // bytes of the longest value as text
};

// The kind of a column by its SQL type, with the decimals of a DECIMAL. Nested values and blobs are left out.
ColumnFacts FactsOfType(const std::string& name, const std::string& type);

// DECIMAL(p,s) types: all of p digits come back from a double up to this.
inline constexpr int kSafeDigits = 15;
// Digits that a DECIMAL(p,s) has in all; 0 for another type.
int DecimalPrecision(const std::string& type);

// The variable of a column without a dictionary. A number is shown as wide as its widest value, at least 8;
// where a double doesn't give a number's digits back, the variable is a string of the digits.
// REQUIRES: the column isn't left out.
KORV_Variable NumericVariable(const ColumnFacts& facts);
KORV_Variable StringVariable(const ColumnFacts& facts);
KORV_Variable VariableOf(const ColumnFacts& facts);
