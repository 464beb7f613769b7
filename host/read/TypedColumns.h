#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/engine/DuckCaseEngine.h"
#include "host/read/SchemaRules.h"

// Relations over columns that have SQL types already: Parquet files, the rows of a query, and native files
// that a schema is put on. (Text files go through TextTable.)
//
// The types leave three questions open, which only the values can answer:
//   - Does a double hold every value? It matters for 64-bit and larger integers and for long decimals. If
//     not, the variable is a string of the digits.
//   - How wide is a string? As wide as its longest text.
//   - How wide is a number's format? As wide as its least or greatest value.
// A schema answers some of them. The rest takes a query over all rows; ColumnFacts holds the answers.

// Warns once of the columns of a file that don't become variables. `columns` may be empty: no warning.
void WarnOfLeftOutColumns(const std::string& file, const std::vector<std::string>& columns);

// A FROM clause for a relation without rows.
inline constexpr const char* kNoCases = "(SELECT 1 WHERE false)";

// What a file says of a column, so that its values needn't be looked at: the least and the greatest of the numbers,
// of which all are finite or NaN; 0 without any. Of other values the bytes of the longest text.
struct ColumnBounds {
  double least = 0.0;
  double greatest = 0.0;
  std::size_t longest = 0;
};

struct TypedColumn {
  std::string name;  // as in the file
  std::string sql;   // the expression that gives it
  std::string type;  // SQL type of that expression
  std::optional<ColumnBounds> bounds{};
};

// Where a relation comes from.
struct TypedSource {
  std::string name;  // of the file, in messages
  std::string from;  // what comes after FROM
  std::vector<TypedColumn> columns;
};

// The columns of what comes after FROM, in order.
// Errors: DataError with DuckDB's reason alone.
std::vector<TypedColumn> DescribeColumns(WorkDatabase& work, const std::string& from);

// Checks that no two names are equal without regard to case.
// Errors: DataError with both names as they are spelt.
void CheckNamesDiffer(const std::vector<std::string>& names);

// Makes the dictionary of a relation and picks its columns. What types and rules leave open (how wide a text
// is, whether all numbers fit a double) follows from the bounds of the columns, or else is found out from all cases, in one or two scans. `trusted`: the
// rules were written together with the file, so what they settle isn't looked at again. A value that
// contradicts them is then found by the cursor.
//
// Errors: DataError that names the file.
CaseRelation MakeTypedRelation(WorkDatabase& work, const TypedSource& source, const SchemaRules& rules,
                               bool trusted);
