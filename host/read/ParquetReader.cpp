#include "host/read/ParquetReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/read/SchemaRules.h"
#include "host/read/TypedColumns.h"

namespace {

// Refuses a file with two columns of one name. The file's own names are read, since DuckDB gives a repeated
// column a new name. The schema of a Parquet file is a tree, listed from the root down with each node's
// number of children; only the root's children are columns.
void CheckParquetNames(const std::string& path, DuckConnection& connection) {
  DuckResult result = connection.Query(fmt::format(
      "SELECT name, coalesce(num_children, 0)::INTEGER FROM parquet_schema({})", FileLiteral(path)));
  std::vector<std::string> names;
  int pending = -1;  // entries left of a nested column; -1 before the first entry, which is the root
  while (const DuckChunk chunk = result.Fetch()) {
    for (std::size_t row = 0; row < chunk.Rows(); ++row) {
      const int children = chunk.Values<std::int32_t>(1)[row];  // 0 for a leaf
      if (pending > 0) {  // inside a nested column: one entry less, and its own children to come
        pending += children - 1;
        continue;
      }
      const std::string name(TextOf(chunk.Values<duckdb_string_t>(0)[row]));
      const bool isTable = pending < 0;
      pending = isTable ? 0 : children;
      if (!isTable) names.push_back(name);
    }
  }
  CheckNamesDiffer(names);
}

// The dictionary that our own writer puts into the file's metadata; empty without one.
// TRY: the metadata is bytes, which needn't be text in a file of another program.
std::string ParquetDictionary(const std::string& path, DuckConnection& connection) {
  DuckResult result =
      connection.Query(fmt::format("SELECT coalesce(TRY(decode(value)), '') FROM parquet_kv_metadata({}) "
                                   "WHERE key = 'dictionary'::BLOB",
                                   FileLiteral(path)));
  const DuckChunk chunk = result.Fetch();
  return chunk && chunk.Rows() > 0 ? std::string(TextOf(chunk.Values<duckdb_string_t>(0)[0])) : std::string();
}

// The key is a common word, so other programs may have something else under it. A warning says so, and the
// file is read as one without a dictionary.
SchemaRules EmbeddedRules(const std::string& path, const std::string& dictionary) {
  if (dictionary.empty()) return {};
  try {
    return SchemaRules(dictionary, "its dictionary");
  } catch (const DataError& error) {
    IssueHostMessage(fmt::format("{}: {}; the variables are as the columns say", path, error.what()),
                     kWarningLevel);
    return {};
  }
}

// --- what the file says of its values ----------------------------------------------------------------------

// The type of the texts in the metadata that can be believed: numbers whose order is the same for every writer.
// Unsigned numbers have been written in the wrong order, and long decimals don't fit a double.
enum class Reading { kNone, kNumber, kFloat, kDate };

Reading ReadingOf(const std::string& type, std::string_view physical) {
  const bool isInteger = physical == "INT32" || physical == "INT64";
  const int precision = DecimalPrecision(type);
  if (isInteger && (type == "INTEGER" || type == "BIGINT")) return Reading::kNumber;
  if (isInteger && precision > 0 && precision <= kSafeDigits) return Reading::kNumber;
  if (physical == "INT32" && type == "DATE") return Reading::kDate;
  if (physical == "DOUBLE" && type == "DOUBLE") return Reading::kNumber;
  return physical == "FLOAT" && type == "FLOAT" ? Reading::kFloat : Reading::kNone;
}

template <class Number>
std::optional<double> FiniteNumber(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isGood = error == std::errc() && end == text.data() + text.size() && std::isfinite(number);
  return isGood ? std::optional<double>(number) : std::nullopt;
}

// Takes in a bound of a row group. False if it says nothing: not a number, infinite, a date of five digits of
// year or before Christ.
bool AddBound(Reading reading, std::string_view text, bool isFirst, ColumnBounds* bounds) {
  if (reading == Reading::kDate) {
    constexpr std::size_t kLength = 10;  // 2024-02-29
    bounds->longest = kLength;
    return text.size() == kLength;
  }
  const std::optional<double> number =
      reading == Reading::kFloat ? FiniteNumber<float>(text) : FiniteNumber<double>(text);
  if (!number) return false;
  bounds->least = isFirst ? *number : std::min(bounds->least, *number);
  bounds->greatest = isFirst ? *number : std::max(bounds->greatest, *number);
  return true;
}

// A text of the metadata; empty for none.
std::string_view Text(const DuckChunk& chunk, std::size_t column, std::size_t row) {
  return chunk.IsNull(column, row) ? std::string_view() : TextOf(chunk.Values<duckdb_string_t>(column)[row]);
}

// What the row groups say of one column.
class ColumnInMetadata {
public:
  explicit ColumnInMetadata(TypedColumn* column) : fpColumn(column) {}

  // A row of the query in AddBounds().
  void AddRowGroup(const DuckChunk& chunk, std::size_t row) {
    fbSeen = true;
    const bool isEmpty = chunk.Values<bool>(4)[row];
    if (isEmpty) return;
    const bool isExact = chunk.Values<bool>(5)[row];
    const Reading reading = ReadingOf(fpColumn->type, Text(chunk, 1, row));
    fbOpen = fbOpen || reading == Reading::kNone || !isExact ||
             !AddBound(reading, Text(chunk, 2, row), !fbAny, &fBounds) ||
             !AddBound(reading, Text(chunk, 3, row), false, &fBounds);
    fbAny = true;
  }

  void TellColumn() const {
    if (fbSeen && !fbOpen) fpColumn->bounds = fBounds;
  }

private:
  TypedColumn* fpColumn;  // borrowed
  ColumnBounds fBounds;
  bool fbSeen = false;  // in the metadata
  bool fbAny = false;   // a row group had values
  bool fbOpen = false;  // a row group has values of which it says nothing
};

// Bounds of the columns of which every row group has them, or nothing but nulls. A writer leaves them out, or
// writes NaN, where a value isn't a number; infinities are among them; then the values have to be looked at.
void AddBounds(DuckConnection& connection, const std::string& path, std::vector<TypedColumn>* columns) {
  std::unordered_map<std::string, ColumnInMetadata> byPath;
  for (TypedColumn& column : *columns) {
    const bool isNested =
        column.name.find(", ") != std::string::npos;  // or looks like the path of such a value
    if (!isNested) byPath.emplace(column.name, &column);
  }
  DuckResult result = connection.Query(fmt::format(
      "SELECT path_in_schema, type, stats_min_value, stats_max_value, coalesce(stats_null_count = "
      "num_values, false) OR num_values = 0, coalesce(min_is_exact AND max_is_exact, true) FROM "
      "parquet_metadata({})",
      FileLiteral(path)));
  while (const DuckChunk chunk = result.Fetch()) {
    for (std::size_t row = 0; row < chunk.Rows(); ++row) {
      const auto found = byPath.find(std::string(Text(chunk, 0, row)));
      if (found != byPath.end()) found->second.AddRowGroup(chunk, row);
    }
  }
  for (const auto& [name, column] : byPath) column.TellColumn();
}

}  // namespace

// The columns have types, and mostly nothing needs to be scanned: see MakeTypedRelation().
CaseRelation OpenParquetFile(WorkDatabase& work, const std::string& path, const std::string& schema) {
  DuckConnection connection = work.Connect();
  // Folders in the path that look like "key=value" must not become columns.
  const std::string from = fmt::format("read_parquet({}, hive_partitioning = false)", FileLiteral(path));
  std::string dictionary;
  std::vector<TypedColumn> columns = Named(path, [&] {
    CheckParquetNames(path, connection);
    dictionary = ParquetDictionary(path, connection);
    std::vector<TypedColumn> described = DescribeColumns(work, from);
    AddBounds(connection, path, &described);
    return described;
  });
  const SchemaRules rules = schema.empty() ? EmbeddedRules(path, dictionary) : SchemaRules::FromFile(schema);
  return MakeTypedRelation(work, {path, from, std::move(columns)}, rules, schema.empty());
}
