#include "host/read/NativeReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/read/ColumnFacts.h"

namespace {

constexpr std::string_view kFormatVersion = "1";

// The rows of a query in turn. Each column is cast to the type that it is taken as, since a file of another
// program may have any.
template <class Row>
void ForEachRow(DuckConnection& connection, const std::string& sql, const Row& row) {
  DuckResult result = connection.Query(sql);
  while (const DuckChunk chunk = result.Fetch()) {
    for (std::size_t i = 0; i < chunk.Rows(); ++i) row(chunk, i);
  }
}

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

// Reads the tables of an attached native file.
class NativeTables {
public:
  NativeTables(DuckConnection& connection, std::string path, std::string alias)
      : fConnection(connection), fPath(std::move(path)), fAlias(std::move(alias)) {}

  DataFrame Read() {
    CheckVersion();
    fFrame.relation.name = fPath;
    fFrame.relation.watched = fPath;
    fFrame.relation.from = fAlias + ".cases";
    ReadVariables();
    ReadColumns();
    CheckWidths();
    ReadMissingValues();
    ReadValueLabels();
    ReadDocuments();
    return std::move(fFrame);
  }

private:
  [[noreturn]] void Refuse(const std::string& what) const { throw DataError(what); }

  void CheckVersion() {
    std::string version;
    ForEachRow(
        fConnection,
        fmt::format("SELECT \"value\"::VARCHAR FROM {}.file_info WHERE \"key\"::VARCHAR = 'format_version'",
                    fAlias),
        [&](const DuckChunk& chunk, std::size_t row) { version = Text(chunk, 0, row); });
    if (version != kFormatVersion) Refuse(fmt::format("format version \"{}\", expected 1", version));
  }

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
          if (variable.GetType() < 0) Refuse("a variable of a negative width");
          variable.SetFormat(Integer(chunk, 2, row), Integer(chunk, 3, row), Integer(chunk, 4, row));
          variable.SetWriteFormat(Integer(chunk, 5, row), Integer(chunk, 6, row), Integer(chunk, 7, row));
          variable.SetMeasurementLevel(Integer(chunk, 8, row));
          const std::string label = Text(chunk, 9, row);
          variable.SetLabel(label.data(), static_cast<int>(label.size()));
          fvPositions.push_back(Integer(chunk, 10, row));
          fFrame.dictionary.variables.push_back(std::move(variable));
        });
  }

  // The columns of the cases stand in the order of the variables.
  void ReadColumns() {
    std::size_t count = 0;
    ForEachRow(
        fConnection,
        fmt::format("SELECT column_name, data_type FROM duckdb_columns() WHERE database_name = {} AND "
                    "table_name = 'cases' ORDER BY column_index",
                    QuoteLiteral(fAlias)),
        [&](const DuckChunk& chunk, std::size_t row) {
          fFrame.relation.columns.push_back({QuoteIdentifier(Text(chunk, 0, row)), Text(chunk, 1, row)});
          if (count < fFrame.dictionary.variables.size()) {
            fFrame.dictionary.variables[count].SetColumnType(Text(chunk, 1, row));
          }
          ++count;
        });
    const std::size_t expected = fFrame.dictionary.variables.size();
    if (count != expected && !(expected == 0 && count == 1)) {
      Refuse(fmt::format("{} columns of cases, expected {}", count, expected));
    }
  }

  // A case must fit into memory: what is wider than a schema may ask for has to have a text that is as wide.
  void CheckWidths() {
    for (std::size_t i = 0; i < fFrame.dictionary.variables.size(); ++i) {
      const KORV_Variable& variable = fFrame.dictionary.variables[i];
      if (variable.GetType() <= kWidestByRequest) continue;
      std::int64_t widest = kWidestByRequest;
      ForEachRow(fConnection,
                 fmt::format("SELECT coalesce(max(strlen({}::VARCHAR)), 0) FROM {}",
                             fFrame.relation.columns[i].sql, fFrame.relation.from),
                 [&](const DuckChunk& chunk, std::size_t row) {
                   widest = std::max(widest, chunk.Values<std::int64_t>(0)[row]);
                 });
      if (variable.GetType() > widest) {
        Refuse(fmt::format("variable \"{}\" is {} bytes wide, expected at most {}", variable.GetName(),
                           variable.GetType(), widest));
      }
    }
  }

  DictionaryValue ValueOf(const DuckChunk& chunk, std::size_t row, const KORV_Variable& variable) {
    DictionaryValue value;
    if (variable.GetType() == 0) {
      value.number = Number(chunk, 1, row);
    } else {
      value.text = Text(chunk, 2, row);
    }
    return value;
  }

  KORV_Variable& VariableAt(int position) {
    const auto found = std::find(fvPositions.begin(), fvPositions.end(), position);
    if (found == fvPositions.end()) Refuse(fmt::format("no variable at position {}", position));
    return fFrame.dictionary.variables[static_cast<std::size_t>(found - fvPositions.begin())];
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

  void ReadValueLabels() {
    std::vector<std::vector<ValueLabel>> labels(fvPositions.size());
    ForEachRow(fConnection,
               fmt::format("SELECT \"position\"::INTEGER, number::DOUBLE, \"text\"::VARCHAR, label::VARCHAR "
                           "FROM {}.value_labels ORDER BY \"position\", \"ordinal\"",
                           fAlias),
               [&](const DuckChunk& chunk, std::size_t row) {
                 KORV_Variable& variable = VariableAt(Integer(chunk, 0, row));
                 const auto place = static_cast<std::size_t>(&variable - fFrame.dictionary.variables.data());
                 labels[place].push_back({ValueOf(chunk, row, variable), Text(chunk, 3, row)});
               });
    for (std::size_t i = 0; i < labels.size(); ++i) {
      fFrame.dictionary.variables[i].SetValueLabels(std::move(labels[i]));
    }
  }

  void ReadDocuments() {
    int current = 0;
    ForEachRow(fConnection,
               fmt::format(
                   "SELECT \"document\"::INTEGER, \"text\"::VARCHAR, line IS NULL FROM {}.documents ORDER BY "
                   "\"document\", line",
                   fAlias),
               [&](const DuckChunk& chunk, std::size_t row) {
                 std::vector<DocumentLines>& documents = fFrame.dictionary.documents;
                 if (documents.empty() || current != Integer(chunk, 0, row)) documents.emplace_back();
                 current = Integer(chunk, 0, row);
                 const bool isEmpty =
                     chunk.Values<bool>(2)[row];  // the row stands for a document without lines
                 if (!isEmpty) documents.back().push_back(Text(chunk, 1, row));
               });
  }

  DuckConnection& fConnection;
  std::string fPath;
  std::string fAlias;
  DataFrame fFrame;
  std::vector<int> fvPositions;  // of the variables, as the other tables name them
};

}  // namespace

DataFrame OpenNativeFile(const std::string& path) {
  WorkDatabase& work = WorkDatabase::Current();
  DuckConnection connection = work.Connect();
  const std::string alias = work.UniqueName("native");
  const std::string absolute = std::filesystem::absolute(path).string();
  try {
    connection.Run(fmt::format("ATTACH {} AS {} (READ_ONLY)", QuoteLiteral(absolute), alias));
    const std::shared_ptr<const void> held = work.Hold("DETACH " + alias);
    DataFrame frame = NativeTables(connection, path, alias).Read();
    frame.relation.held = held;
    return frame;
  } catch (const DataError& error) {
    const std::string reason = error.what();
    if (reason.find("Could not set lock") != std::string::npos) {
      throw DataError(fmt::format("{}: in use by another process", path));
    }
    throw DataError(fmt::format("{}: no native data file ({})", path, reason));
  }
}
