#include "host/read/DataFile.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <filesystem>
#include <memory>
#include <utility>

#include "host/engine/DuckCaseEngine.h"
#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/files/FileKind.h"
#include "host/files/FileWatch.h"
#include "host/files/KilledRun.h"
#include "host/files/ReadableFile.h"
#include "host/read/NativeReader.h"
#include "host/read/ParquetReader.h"
#include "host/read/SchemaRules.h"
#include "host/read/TextFile.h"
#include "host/read/TypedColumns.h"
#include "host/text/VariableNames.h"

namespace {

constexpr const char* kQueryName = "query";  // in messages, where a file has its path

// Of the memory that DuckDB takes by default, 80 % of the machine's: what the database of a native file may
// take beside the session's. It needs little unless its cases are sorted, which can spill.
constexpr double kForeignMemory = 0.25;

// --- native files ------------------------------------------------------------------------------------

// A schema that the user names replaces the file's own dictionary; only then are the cases scanned. The new
// relation takes over the token that keeps the file attached.
CaseRelation OpenNative(WorkDatabase& work, const std::string& path, const std::string& schema) {
  CaseRelation relation = OpenNativeFile(work, path);
  if (schema.empty()) return relation;
  std::vector<TypedColumn> columns;
  for (std::size_t i = 0; i < relation.dictionary.variables.size(); ++i) {
    const RelationColumn& column = relation.columns[i];
    columns.push_back({relation.dictionary.variables[i].GetName(), column.sql, column.type});
  }
  CaseRelation ruled =
      MakeTypedRelation(work, {path, relation.from, columns}, SchemaRules::FromFile(schema), false);
  ruled.held = relation.held;
  return ruled;
}

// What DuckDB says of a file that is changed meanwhile only confuses.
CaseRelation OpenWatched(WorkDatabase& work, const std::string& path, FileKind kind,
                         const std::string& schema) {
  const auto watch = Named(path, [&] { return std::make_shared<const FileWatch>(path); });
  const auto check = [&] { Named(path, [&] { watch->Check(); }); };
  try {
    CaseRelation relation = kind == FileKind::kNative    ? OpenNative(work, path, schema)
                            : kind == FileKind::kParquet ? OpenParquetFile(work, path, schema)
                                                         : OpenTextFile(work, path, kind, schema);
    check();
    const bool isInPlace = kind == FileKind::kNative || kind == FileKind::kParquet;
    if (isInPlace) relation.watched = watch;  // the cases of others are in the work database
    return relation;
  } catch (const DataError&) {
    check();
    throw;
  }
}

// Checked in this order, so that a missing file is reported before its extension.
CaseRelation OpenFile(WorkDatabase& work, const std::string& path, const std::string& schema) {
  CheckReadableFile(path);
  const FileKind kind = KindOf(path);
  if (kind == FileKind::kUnknown) {
    throw DataError(
        fmt::format("{}: no data file by its extension; .sav, .parquet, .csv, .tsv, .json and .ndjson "
                    "can be read",
                    path));
  }
  if (std::filesystem::file_size(path) == 0) {
    CaseRelation empty;
    empty.name = path;
    empty.from = kNoCases;
    return empty;
  }
  return OpenWatched(work, path, kind, schema);
}

// --- queries ---------------------------------------------------------------------------------------------

// A query writes nothing, with one exception: a function that turns on DuckDB's log, which may go to files.
// The plan has its name also where the text hides it in a query within a query. To make the plan takes as
// long as to prepare the query, so it is only done if the text has one of the words that this would take.
void RefuseLogging(DuckConnection& connection, const std::string& sql) {
  const std::string upper = GetUpperString(sql);
  const auto has = [&](const char* word) { return upper.find(word) != std::string::npos; };
  if (!has("ENABLE_LOGGING") && !has("QUERY") && !has("JSON_EXECUTE_SERIALIZED_SQL")) return;
  DuckResult result = connection.Query("EXPLAIN (FORMAT json) " + sql);
  const DuckChunk chunk = result.Fetch();
  const std::string_view plan = TextOf(chunk.Values<duckdb_string_t>(1)[0]);
  for (const char* const function : {"enable_logging", "json_execute_serialized_sql"}) {
    if (plan.find(fmt::format("\"Function\": \"{}\"", GetUpperString(function))) == std::string::npos)
      continue;
    throw DataError(fmt::format("{}() could write files, which a query mustn't; leave it out", function));
  }
}

// The rows are kept in a table, since a query may give other rows, or another order, when it runs again.
CaseRelation RunQuery(WorkDatabase& work, const std::string& sql, const std::string& schema) {
  const SchemaRules rules = schema.empty() ? SchemaRules() : SchemaRules::FromFile(schema);
  const std::string table = work.UniqueName("query");
  std::shared_ptr<const void> held;
  const std::vector<TypedColumn> columns = Named(kQueryName, [&] {
    DuckConnection connection = work.Connect();
    const std::vector<std::string> names = connection.QueryColumns(sql);
    RefuseLogging(connection, sql);
    connection.Run(fmt::format("CREATE TABLE {} AS {}", table, sql));
    held = work.Hold("DROP TABLE " + table);
    // The table has new names for columns that are named twice; with the query's own ones they are refused.
    std::vector<TypedColumn> described = DescribeColumns(work, table);
    for (std::size_t i = 0; i < described.size() && i < names.size(); ++i) described[i].name = names[i];
    return described;
  });
  CaseRelation relation = MakeTypedRelation(work, {kQueryName, table, columns}, rules, false);
  relation.held = std::move(held);
  return relation;
}

// --- sorting ---------------------------------------------------------------------------------------------

// The SQL to sort by a variable, where column k is named ck; a name after a minus sign sorts in descending order,
// unless the minus sign is part of it. Values compare as the cells will show them: texts without trailing
// blanks, numbers that aren't finite as missing. A missing value is lower than any other.
std::string SortKey(const CaseRelation& relation, const std::string& variable) {
  int index = relation.dictionary.Find(variable);
  const bool isDescending = index < 0 && variable.starts_with('-');
  if (isDescending) index = relation.dictionary.Find(variable.substr(1));
  if (index < 0) {
    throw DataError(fmt::format("{}: there is no variable \"{}\" to sort by", relation.name, variable));
  }
  const std::string& type = relation.columns[static_cast<std::size_t>(index)].type;
  std::string key = fmt::format("c{}", index);
  if (type == "VARCHAR") key = fmt::format("rtrim(coalesce({}, ''), ' ')", key);
  if (type == "DOUBLE" || type == "FLOAT") key = fmt::format("CASE WHEN isfinite({0}) THEN {0} END", key);
  return key + (isDescending ? " DESC NULLS LAST" : " NULLS FIRST");
}

// The SQL of a relation with the same rows and a column "turn", by which these keys order them in a serpentine.
// The runs of rows that are equal in the keys so far are numbered from 1 in their order, and the next key
// ascends in odd runs and descends in even ones.
std::string SerpentineOf(std::string rows, const std::vector<std::string>& keys) {
  rows = fmt::format("SELECT *, dense_rank() OVER (ORDER BY {}) AS turn FROM ({})", keys.front(), rows);
  for (std::size_t i = 1; i < keys.size(); ++i) {
    rows = fmt::format("SELECT *, dense_rank() OVER (ORDER BY {}) AS rank FROM ({})", keys[i], rows);
    rows = fmt::format(
        "SELECT * EXCLUDE (rank) REPLACE (dense_rank() OVER (ORDER BY turn, CASE WHEN turn % 2 = 1 THEN rank "
        "ELSE "
        "-rank END) AS turn) FROM ({})",
        rows);
  }
  return rows;
}

// The same cases in the order of these variables, missing values first; ties keep their order. They become a
// table, so that every pass has this order without sorting again.
CaseRelation Sorted(WorkDatabase& work, CaseRelation relation, const FrameRules& rules) {
  if (rules.serpentine && rules.sort.size() < 2)
    throw DataError("a serpentine order needs two variables or more to sort by");
  if (rules.sort.empty()) return relation;
  std::vector<std::string> keys;
  for (const std::string& variable : rules.sort) keys.push_back(SortKey(relation, variable));
  CaseRelation sorted = relation;
  std::string list;
  for (std::size_t i = 0; i < relation.columns.size(); ++i) {
    list += fmt::format("{} AS c{}, ", relation.columns[i].sql, i);
    sorted.columns[i].sql = fmt::format("c{}", i);
  }
  sorted.watched.reset();  // the file may change now
  sorted.from = work.UniqueName("sorted");
  std::string rows = fmt::format("SELECT {}row_number() OVER () AS place FROM {}", list, relation.from);
  if (rules.serpentine) {
    rows = SerpentineOf(rows, keys);
    keys = {"turn"};
  }
  keys.emplace_back("place");
  Named(relation.name, [&] {
    work.Connect().Run(fmt::format("CREATE TABLE {} AS SELECT * FROM ({}) ORDER BY {}", sorted.from, rows,
                                   fmt::join(keys, ", ")));
    if (relation.watched != nullptr) relation.watched->Check();
  });
  sorted.held = work.Hold("DROP TABLE " + sorted.from);
  return sorted;
}

}  // namespace

// --- what others call ------------------------------------------------------------------------------------

DataFrame OpenDataFile(HostSession& session, const std::string& path, const FrameRules& rules) {
  if (path.empty()) throw DataError("no data file is named");
  const std::string file = PathToRead(path);
  std::string why;
  if (!FinishKilledRun(file, &why)) throw DataError(fmt::format("{}: {}", file, why));
  // Nothing in a file of another kind is run, so the session's database, which is there anyway, will do.
  std::shared_ptr<WorkDatabase> work = KindOf(file) == FileKind::kNative
                                           ? std::make_shared<WorkDatabase>(session, kForeignMemory)
                                           : session.Layer<WorkDatabase>().shared_from_this();
  CaseRelation relation = Sorted(*work, OpenFile(*work, file, rules.schema), rules);
  return MakeFrame(std::move(work), std::move(relation));
}

DataFrame OpenQuery(HostSession& session, const std::string& sql, const FrameRules& rules) {
  std::shared_ptr<WorkDatabase> work = session.Layer<WorkDatabase>().shared_from_this();
  CaseRelation relation = Sorted(*work, RunQuery(*work, sql, rules.schema), rules);
  return MakeFrame(std::move(work), std::move(relation));
}

DataFrame OpenTable(std::shared_ptr<WorkDatabase> work, const TypedSource& source, const FrameRules& rules) {
  const SchemaRules schema = rules.schema.empty() ? SchemaRules() : SchemaRules::FromFile(rules.schema);
  CaseRelation relation = Sorted(*work, MakeTypedRelation(*work, source, schema, false), rules);
  return MakeFrame(std::move(work), std::move(relation));
}
