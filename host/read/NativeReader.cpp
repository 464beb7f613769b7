#include "host/read/NativeReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/model/Values.h"
#include "host/read/NativeCatalogue.h"
#include "host/read/TypedColumns.h"

namespace {

// Files of a later version may mean something else by the same tables, so they are refused.
constexpr std::string_view kFormatVersion = "1";

// Calls `row` for each row of a query. The queries below cast each column to the type that it is read as: a
// database that only looks like a native file may have columns of any type.
template <class Row>
void ForEachRow(DuckConnection& connection, const std::string& sql, const Row& row) {
  DuckResult result = connection.Query(sql);
  while (const DuckChunk chunk = result.Fetch()) {
    for (std::size_t i = 0; i < chunk.Rows(); ++i) row(chunk, i);
  }
}

// A cell; a null is an empty text or 0.
std::string Text(const DuckChunk& chunk, std::size_t column, std::size_t row) {
  return chunk.IsNull(column, row) ? std::string()
                                   : std::string(TextOf(chunk.Values<duckdb_string_t>(column)[row]));
}
int Integer(const DuckChunk& chunk, std::size_t column, std::size_t row) {
  return chunk.IsNull(column, row) ? 0 : chunk.Values<std::int32_t>(column)[row];
}
double Number(const DuckChunk& chunk, std::size_t column, std::size_t row) {
  return chunk.IsNull(column, row) ? 0.0 : chunk.Values<double>(column)[row];
}

// Reads the tables of an attached native file, see host/write/NativeFile.h. Single use: construct, Read(),
// discard. Anyone can make such a database, so nothing in it is believed that would make us read beyond a
// vector or ask for memory that the texts in the file don't need.
//
// Failures: DataError with the reason alone.
class NativeTables {
public:
  NativeTables(DuckConnection& connection, std::string path, std::string alias)
      : fConnection(connection), fPath(std::move(path)), fAlias(std::move(alias)) {}

  // In this order: values are read by the types of their variables, widths by the columns.
  CaseRelation Read() {
    CheckVersion();
    fRelation.name = fPath;
    fRelation.from = fAlias + ".cases";
    ReadVariables();
    ReadColumns();
    CheckWidths();
    ReadMissingValues();
    ReadValueLabels();
    ReadDocuments();
    return std::move(fRelation);
  }

private:
  void CheckVersion() {
    std::string version;
    ForEachRow(
        fConnection,
        fmt::format("SELECT \"value\"::VARCHAR FROM {}.file_info WHERE \"key\"::VARCHAR = 'format_version'",
                    fAlias),
        [&](const DuckChunk& chunk, std::size_t row) { version = Text(chunk, 0, row); });
    if (version != kFormatVersion) throw DataError(fmt::format("format version \"{}\", expected 1", version));
  }

  // One row a variable, ordered by position. Positions may have gaps.
  void ReadVariables() {
    ForEachRow(
        fConnection,
        fmt::format("SELECT name::VARCHAR, \"type\"::INTEGER, print_type::INTEGER, print_width::INTEGER, "
                    "print_decimals::INTEGER, write_type::INTEGER, write_width::INTEGER, "
                    "write_decimals::INTEGER, \"level\"::INTEGER, label::VARCHAR, \"position\"::INTEGER "
                    "FROM {}.variables ORDER BY \"position\"",
                    fAlias),
        [&](const DuckChunk& chunk, std::size_t row) {
          KORV_Variable variable(Text(chunk, 0, row), Integer(chunk, 1, row));
          if (variable.GetType() < 0) throw DataError("a variable of a negative width");
          variable.SetFormat(Integer(chunk, 2, row), Integer(chunk, 3, row), Integer(chunk, 4, row));
          variable.SetWriteFormat(Integer(chunk, 5, row), Integer(chunk, 6, row), Integer(chunk, 7, row));
          variable.SetMeasurementLevel(Integer(chunk, 8, row));
          const std::string label = Text(chunk, 9, row);
          variable.SetLabel(label.data(), static_cast<int>(label.size()));
          fvPositions.push_back(Integer(chunk, 10, row));
          fRelation.dictionary.variables.push_back(std::move(variable));
        });
    std::vector<std::string> names;
    for (const KORV_Variable& variable : fRelation.dictionary.variables) names.push_back(variable.GetName());
    CheckNamesDiffer(names);
  }

  // The columns of `cases` have the order of the variables; their names needn't agree.
  void ReadColumns() {
    std::size_t count = 0;
    ForEachRow(fConnection,
               fmt::format("SELECT column_name, data_type FROM duckdb_columns() WHERE database_name = {} AND "
                           "table_name = 'cases' ORDER BY column_index",
                           QuoteLiteral(fAlias)),
               [&](const DuckChunk& chunk, std::size_t row) {
                 if (!IsTypeName(Text(chunk, 1, row))) {
                   throw DataError(fmt::format("column \"{}\" has no type of DuckDB's", Text(chunk, 0, row)));
                 }
                 fRelation.columns.push_back({QuoteIdentifier(Text(chunk, 0, row)), Text(chunk, 1, row)});
                 if (count < fRelation.dictionary.variables.size()) {
                   fRelation.dictionary.variables[count].SetColumnType(Text(chunk, 1, row));
                 }
                 ++count;
               });
    const std::size_t expected = fRelation.dictionary.variables.size();
    // A table can't be without columns: a file of no variables has a column that isn't used.
    if (count != expected && !(expected == 0 && count == 1)) {
      throw DataError(fmt::format("{} columns of cases, expected {}", count, expected));
    }
  }

  // The cells of a case are allocated by the widths in the dictionary. A width that a schema couldn't ask for
  // is believed only if a text of the file needs it.
  void CheckWidths() {
    for (std::size_t i = 0; i < fRelation.dictionary.variables.size(); ++i) {
      const KORV_Variable& variable = fRelation.dictionary.variables[i];
      if (variable.GetType() <= kWidestByRequest) continue;
      std::int64_t widest = kWidestByRequest;
      ForEachRow(fConnection,
                 fmt::format("SELECT coalesce(max(strlen({}::VARCHAR)), 0) FROM {}", fRelation.columns[i].sql,
                             fRelation.from),
                 [&](const DuckChunk& chunk, std::size_t row) {
                   widest = std::max(widest, chunk.Values<std::int64_t>(0)[row]);
                 });
      if (variable.GetType() > widest) {
        throw DataError(fmt::format("variable \"{}\" is {} bytes wide, expected at most {}",
                                    variable.GetName(), variable.GetType(), widest));
      }
    }
  }

  // The value in the columns `number` and `text`, which are the second and third of both queries.
  DictionaryValue ValueOf(const DuckChunk& chunk, std::size_t row, const KORV_Variable& variable) {
    DictionaryValue value;
    if (variable.GetType() == 0) {
      value.number = Number(chunk, 1, row);
    } else {
      value.text = TrimRight(Text(chunk, 2, row));  // like the values that it is compared with
    }
    return value;
  }

  // The variable that a row of another table refers to.
  KORV_Variable& VariableAt(int position) {
    const auto found = std::find(fvPositions.begin(), fvPositions.end(), position);
    if (found == fvPositions.end()) throw DataError(fmt::format("no variable at position {}", position));
    return fRelation.dictionary.variables[static_cast<std::size_t>(found - fvPositions.begin())];
  }

  void ReadMissingValues() {
    ForEachRow(
        fConnection,
        fmt::format(
            "SELECT \"position\"::INTEGER, number::DOUBLE, \"text\"::VARCHAR FROM {}.missing_values ORDER "
            "BY \"position\", \"ordinal\"",
            fAlias),
        [&](const DuckChunk& chunk, std::size_t row) {
          KORV_Variable& variable = VariableAt(Integer(chunk, 0, row));
          std::vector<DictionaryValue> values = variable.MissingValues();
          values.push_back(ValueOf(chunk, row, variable));
          variable.SetMissingValues(std::move(values));
        });
  }

  // Collected for all variables first: a variable takes its labels as one list.
  void ReadValueLabels() {
    std::vector<std::vector<ValueLabel>> labels(fvPositions.size());
    ForEachRow(fConnection,
               fmt::format("SELECT \"position\"::INTEGER, number::DOUBLE, \"text\"::VARCHAR, label::VARCHAR "
                           "FROM {}.value_labels ORDER BY \"position\", \"ordinal\"",
                           fAlias),
               [&](const DuckChunk& chunk, std::size_t row) {
                 KORV_Variable& variable = VariableAt(Integer(chunk, 0, row));
                 const auto place =
                     static_cast<std::size_t>(&variable - fRelation.dictionary.variables.data());
                 labels[place].push_back({ValueOf(chunk, row, variable), Text(chunk, 3, row)});
               });
    for (std::size_t i = 0; i < labels.size(); ++i) {
      fRelation.dictionary.variables[i].SetValueLabels(std::move(labels[i]));
    }
  }

  // A new document begins where the number in the first column changes.
  void ReadDocuments() {
    int current = 0;
    ForEachRow(fConnection,
               fmt::format(
                   "SELECT \"document\"::INTEGER, \"text\"::VARCHAR, line IS NULL FROM {}.documents ORDER BY "
                   "\"document\", line",
                   fAlias),
               [&](const DuckChunk& chunk, std::size_t row) {
                 std::vector<DocumentLines>& documents = fRelation.dictionary.documents;
                 if (documents.empty() || current != Integer(chunk, 0, row)) documents.emplace_back();
                 current = Integer(chunk, 0, row);
                 // A null line number: the row is there because the document has no lines.
                 const bool isEmpty = chunk.Values<bool>(2)[row];
                 if (!isEmpty) documents.back().push_back(Text(chunk, 1, row));
               });
  }

  DuckConnection& fConnection;
  std::string fPath;
  std::string fAlias;
  CaseRelation fRelation;
  std::vector<int> fvPositions;  // of the variables: how the other tables refer to them
};

// Where DuckDB looks for a log of changes that aren't in the file yet. It takes a question mark for the end
// of an address.
std::string LogOf(std::string path) {
  return path.insert(std::min(path.find('?'), path.size()), ".wal");
}

// A log holds statements that DuckDB would run to bring the file up to date.
void CheckNoLog(const std::string& log) {
  std::error_code ignored;
  if (std::filesystem::symlink_status(log, ignored).type() == std::filesystem::file_type::not_found) return;
  throw DataError(fmt::format(
      "its log {} is there, so the program that wrote it hasn't closed it; open and close it there", log));
}

}  // namespace

CaseRelation OpenNativeFile(WorkDatabase& work, const std::string& path) {
  DuckConnection connection = work.Connect();
  const std::string alias = work.UniqueName("native");
  const std::string absolute = std::filesystem::absolute(path).string();
  return Named(path, [&] {
    try {
      const std::string log = LogOf(absolute);
      CheckNoLog(log);
      CheckNoLog(LogOf(std::filesystem::canonical(path).string()));  // of the file that a link leads to
      work.AllowOnly({absolute, log});                               // DuckDB looks for the log too
      // The type: DuckDB would look for an extension to open what seems to be another program's database.
      connection.Run(fmt::format("ATTACH {} AS {} (READ_ONLY, TYPE duckdb)", QuoteLiteral(absolute), alias));
      // From here on the file is detached again whatever happens.
      const std::shared_ptr<const void> held = work.Hold("DETACH " + alias);
      CheckTablesOfValues(connection, alias);
      CaseRelation relation = NativeTables(connection, path, alias).Read();
      relation.held = held;
      return relation;
    } catch (const DataError& error) {
      const std::string reason = error.what();
      const bool isLocked = reason.find("Could not set lock") != std::string::npos;  // DuckDB's own words
      throw DataError(isLocked ? "in use by another process"
                               : fmt::format("no native data file ({})", reason));
    }
  });
}
