#pragma once

#include <string>
#include <vector>

#include "host/engine/DuckCaseEngine.h"

// Opens a data file of any kind for reading. `schema` is a Table Schema file in place of the one beside the
// data; empty for none. Errors: DataError.
DataFrame OpenDataFile(const std::string& path, const std::string& schema);

// Runs a query once and keeps its rows in the order in which they came. `schema` as above.
// Errors: DataError, also for what is no single query.
DataFrame OpenQuery(const std::string& sql, const std::string& schema);

// The same cases in the order of these variables, ascending; missing values first, ties in the order that
// was. Errors: DataError when there is no such variable.
DataFrame SortFrame(const DataFrame& frame, const std::vector<std::string>& names);
