#include "host/read/DataFile.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <filesystem>
#include <memory>
#include <utility>

#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/files/FileKind.h"
#include "host/files/ReadableFile.h"
#include "host/read/CsvReader.h"
#include "host/read/JsonReader.h"
#include "host/read/NativeReader.h"
#include "host/read/SchemaRules.h"
#include "host/read/TextTable.h"
#include "host/read/TypedColumns.h"

namespace {

constexpr const char* kQueryName = "query";

// A file of no bytes: no variables and no cases.
DataFrame EmptyFrame(const std::string& path) {
  DataFrame frame;
  frame.relation.name = path;
  frame.relation.from = "(SELECT 1 WHERE false)";
  return frame;
}

// The characters of a path that DuckDB would take for a pattern of names stand for themselves.
std::string PatternOf(const std::string& path) {
  std::string pattern;
  for (const char c : std::filesystem::absolute(path).string()) {
    const bool isSpecial = c == '*' || c == '?' || c == '[';
    pattern += isSpecial ? fmt::format("[{}]", c) : std::string(1, c);
  }
  return QuoteLiteral(pattern);
}

// Runs a step over DuckDB; what it says of a failure is put behind the name.
template <class Step>
auto Named(const std::string& name, const Step& step) {
  try {
    return step();
  } catch (const DataError& error) {
    throw DataError(fmt::format("{}: {}", name, error.what()));
  }
}

// --- Parquet ---------------------------------------------------------------------------------------------

// DuckDB renames a column that another one has the name of; the file's own names tell.
void CheckParquetNames(const std::string& path, DuckConnection& connection) {
  DuckResult result = connection.Query(fmt::format(
      "SELECT name, coalesce(num_children, 0)::INTEGER FROM parquet_schema({})", PatternOf(path)));
  std::vector<std::string> names;
  int pending = -1;  // entries that still belong to a nested column; the first entry is the table itself
  while (const DuckChunk chunk = result.Fetch()) {
    for (std::size_t row = 0; row < chunk.Rows(); ++row) {
      const int children = chunk.Values<std::int32_t>(1)[row];
      if (pending > 0) {
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

// The dictionary that our own writer leaves in the file; empty without one.
std::string ParquetDictionary(const std::string& path, DuckConnection& connection) {
  DuckResult result =
      connection.Query(fmt::format("SELECT coalesce(TRY(decode(value)), '') FROM parquet_kv_metadata({}) "
                                   "WHERE key = 'dictionary'::BLOB",
                                   PatternOf(path)));
  const DuckChunk chunk = result.Fetch();
  return chunk && chunk.Rows() > 0 ? std::string(TextOf(chunk.Values<duckdb_string_t>(0)[0])) : std::string();
}

// The key is a common word: what isn't ours under it is told of and left.
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

DataFrame OpenParquet(const std::string& path, const std::string& schema) {
  DuckConnection connection = WorkDatabase::Current().Connect();
  const std::string from = fmt::format("read_parquet({}, hive_partitioning = false)", PatternOf(path));
  std::string dictionary;
  const std::vector<TypedColumn> columns = Named(path, [&] {
    CheckParquetNames(path, connection);
    dictionary = ParquetDictionary(path, connection);
    return DescribeColumns(from);
  });
  const SchemaRules rules = schema.empty() ? EmbeddedRules(path, dictionary) : SchemaRules::FromFile(schema);
  DataFrame frame = MakeTypedFrame(path, from, columns, rules, schema.empty());
  frame.relation.watched = path;
  return frame;
}

// --- text files ------------------------------------------------------------------------------------------

DataFrame OpenText(const std::string& path, FileKind kind, const std::string& schema) {
  const std::string beside = SchemaPath(path);
  SchemaRules rules;
  if (!schema.empty()) {
    rules = SchemaRules::FromFile(schema);
  } else if (FileExists(beside)) {
    rules = SchemaRules::FromFile(beside);
  }
  const bool isJson = kind == FileKind::kJson || kind == FileKind::kNdJson;
  TextTable table(path, isJson ? "object" : "line", rules);
  if (isJson) {
    LoadJson(path, &table);
  } else {
    LoadCsv(path, kind == FileKind::kTsv ? '\t' : '\0', &table);
  }
  return table.Finish();
}

// A schema that the user names comes on top of a dictionary that a native file has of its own.
DataFrame OpenNative(const std::string& path, const std::string& schema) {
  DataFrame frame = OpenNativeFile(path);
  if (schema.empty()) return frame;
  std::vector<TypedColumn> columns;
  for (std::size_t i = 0; i < frame.dictionary.variables.size(); ++i) {
    const RelationColumn& column = frame.relation.columns[i];
    columns.push_back({frame.dictionary.variables[i].GetName(), column.sql, column.type});
  }
  DataFrame ruled = MakeTypedFrame(path, frame.relation.from, columns, SchemaRules::FromFile(schema), false);
  ruled.relation.watched = path;
  ruled.relation.held = frame.relation.held;
  return ruled;
}

}  // namespace

DataFrame OpenDataFile(const std::string& given, const std::string& schema) {
  if (given.empty()) throw DataError("no data file is named");
  const std::string path = PathToRead(given);
  CheckReadableFile(path);
  const FileKind kind = KindOf(path);
  if (kind == FileKind::kUnknown) {
    throw DataError(
        fmt::format("{}: no data file by its extension; .sav, .parquet, .csv, .tsv, .json and .ndjson "
                    "can be read",
                    path));
  }
  if (std::filesystem::file_size(path) == 0) return EmptyFrame(path);
  if (kind == FileKind::kNative) return OpenNative(path, schema);
  if (kind == FileKind::kParquet) return OpenParquet(path, schema);
  return OpenText(path, kind, schema);
}

DataFrame OpenQuery(const std::string& sql, const std::string& schema) {
  const SchemaRules rules = schema.empty() ? SchemaRules() : SchemaRules::FromFile(schema);
  WorkDatabase& work = WorkDatabase::Current();
  const std::string table = work.UniqueName("query");
  std::shared_ptr<const void> held;
  const std::vector<TypedColumn> columns = Named(kQueryName, [&] {
    DuckConnection connection = work.Connect();
    const std::vector<std::string> names = connection.QueryColumns(sql);
    connection.Run(fmt::format("CREATE TABLE {} AS {}", table, sql));
    held = work.Hold("DROP TABLE " + table);
    std::vector<TypedColumn> described = DescribeColumns(table);  // with new names for those that come twice
    for (std::size_t i = 0; i < described.size() && i < names.size(); ++i) described[i].name = names[i];
    return described;
  });
  DataFrame frame = MakeTypedFrame(kQueryName, table, columns, rules, false);
  frame.relation.held = std::move(held);
  return frame;
}

DataFrame SortFrame(const DataFrame& frame, const std::vector<std::string>& names) {
  const std::string& name = frame.relation.name;
  std::vector<std::string> keys;
  for (const std::string& variable : names) {
    const int index = frame.dictionary.Find(variable);
    if (index < 0) throw DataError(fmt::format("{}: there is no variable \"{}\" to sort by", name, variable));
    const RelationColumn& column = frame.relation.columns[static_cast<std::size_t>(index)];
    std::string key = fmt::format("c{}", index);
    if (column.type == "VARCHAR") key = fmt::format("rtrim(coalesce({}, ''), ' ')", key);
    if (column.type == "DOUBLE" || column.type == "FLOAT")
      key = fmt::format("CASE WHEN isfinite({0}) THEN {0} END", key);
    keys.push_back(key + " NULLS FIRST");
  }
  keys.push_back("place");
  DataFrame sorted = frame;
  std::string list;
  for (std::size_t i = 0; i < frame.relation.columns.size(); ++i) {
    list += fmt::format("{} AS c{}, ", frame.relation.columns[i].sql, i);
    sorted.relation.columns[i].sql = fmt::format("c{}", i);
  }
  sorted.relation.watched.clear();
  sorted.relation.from = WorkDatabase::Current().UniqueName("sorted");
  const std::string numbered =
      fmt::format("SELECT {}row_number() OVER () AS place FROM {}", list, frame.relation.from);
  Named(name, [&] {
    WorkDatabase::Current().Connect().Run(fmt::format("CREATE TABLE {} AS SELECT * FROM ({}) ORDER BY {}",
                                                      sorted.relation.from, numbered, fmt::join(keys, ", ")));
  });
  sorted.relation.held = WorkDatabase::Current().Hold("DROP TABLE " + sorted.relation.from);
  return sorted;
}
