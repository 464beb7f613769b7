#include "host/read/NativeCatalogue.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <vector>

#include "host/engine/DuckDb.h"
#include "host/environment/HostErrors.h"

namespace {

constexpr std::array<std::string_view, 6> kTables = {"file_info",      "cases",        "variables",
                                                     "missing_values", "value_labels", "documents"};

[[noreturn]] void Refuse(const std::string& what) {
  throw DataError(
      fmt::format("{}; a data file gives values alone, and nothing in it is run: if you trust where it comes "
                  "from, export "
                  "its cases as Parquet or CSV with the program that wrote it",
                  what));
}

// The first column of a query. The flag `internal` isn't looked at in any: it comes from the file.
std::vector<std::string> Names(DuckConnection& connection, const std::string& sql) {
  std::vector<std::string> names;
  DuckResult result = connection.Query(sql);
  while (const DuckChunk chunk = result.Fetch()) {
    for (std::size_t row = 0; row < chunk.Rows(); ++row) {
      names.emplace_back(TextOf(chunk.Values<duckdb_string_t>(0)[row]));
    }
  }
  return names;
}

bool IsLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

}  // namespace

// A name is that of a table or of a view, never of both.
void CheckTablesOfValues(DuckConnection& connection, const std::string& database) {
  const std::string from =
      fmt::format(" WHERE database_name = {} AND schema_name = 'main'", QuoteLiteral(database));
  const std::vector<std::string> tables = Names(connection, "SELECT table_name FROM duckdb_tables()" + from);
  for (const std::string_view name : kTables) {
    if (std::find(tables.begin(), tables.end(), name) == tables.end()) {
      Refuse(fmt::format("it has no table \"{}\", or a view in its place", name));
    }
  }
  const std::string ours = fmt::format("{} AND table_name IN ('{}')", from, fmt::join(kTables, "', '"));
  for (const std::string& name :
       Names(connection, "SELECT table_name || '.' || column_name FROM duckdb_columns()" + ours +
                             " AND column_default IS NOT NULL")) {
    Refuse(fmt::format("column \"{}\" has a default or is computed", name));
  }
  for (const std::string& name :
       Names(connection, "SELECT table_name FROM duckdb_tables()" + ours +
                             " AND (has_primary_key OR index_count > 0 OR check_constraint_count > 0)")) {
    Refuse(fmt::format("table \"{}\" has an index or a constraint", name));
  }
}

bool IsTypeName(std::string_view text) {
  constexpr std::string_view kPlain = "_ (),[]";
  int depth = 0;  // of brackets
  char quote = '\0';
  for (const char c : text) {
    if (quote != '\0') {
      if (c == quote) quote = '\0';  // a doubled one opens it again
    } else if (c == '\'' || c == '"') {
      quote = c;
    } else if (IsLetterOrDigit(c) || kPlain.find(c) != std::string_view::npos) {
      depth += (c == '(' ? 1 : 0) - (c == ')' ? 1 : 0);
      if (depth < 0 || (depth == 0 && c == ',')) return false;
    } else {
      return false;
    }
  }
  return depth == 0 && quote == '\0' && text.find('\0') == std::string_view::npos;
}
