#pragma once

#include <string>
#include <vector>

#include "host/engine/DuckCaseEngine.h"
#include "host/read/SchemaRules.h"

// Warns once of the columns of a file that are no part of the active file: nested values and blobs.
void WarnOfLeftOutColumns(const std::string& file, const std::vector<std::string>& columns);

// The columns of a relation whose columns have SQL types: what DuckDB scans or keeps in a table.
struct TypedColumn {
  std::string name;  // as the file says
  std::string sql;   // the expression that gives it
  std::string type;  // SQL type
};

// The columns of what stands behind FROM, in order.
// Errors: DataError with DuckDB's reason alone.
std::vector<TypedColumn> DescribeColumns(const std::string& from);

// Checks that no two columns go by the same name, without regard to case.
// Errors: DataError with both names as they stand.
void CheckNamesDiffer(const std::vector<std::string>& names);

// Makes the dictionary of a relation and picks its columns. What the rules leave open is found out from all
// cases in one scan. `trusted`: the rules were written with the file, so that what they settle needs no
// looking at. Errors: DataError that names the relation.
DataFrame MakeTypedFrame(const std::string& name, const std::string& from,
                         const std::vector<TypedColumn>& columns, const SchemaRules& rules, bool trusted);
