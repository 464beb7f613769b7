#include "host/read/ArrowFrame.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <system_error>
#include <utility>

#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/text/NearestWord.h"

// duckdb_arrow_scan() isn't used: it gives wrong numbers without an error when only some columns are asked
// for, and nothing at a second scan. So the rows are converted and appended block by block.

namespace {

constexpr const char* kFrameName = "frame";  // in messages, where a file has its path

// Values of a block of rows that is converted at once. Small enough that a poll isn't kept waiting, large
// enough that the values of a dictionary, which are converted anew with each block, don't count.
constexpr std::int64_t kBlockValues = 1 << 20;
constexpr std::int64_t kLeastRows = 2048;  // of a block, however many columns there are

// --- types -----------------------------------------------------------------------------------------------

struct PlainType {
  const char* format;
  const char* sql;
};

constexpr PlainType kPlainTypes[] = {
    {"n", "DOUBLE"},          {"b", "BOOLEAN"},        {"c", "TINYINT"},         {"C", "UTINYINT"},
    {"s", "SMALLINT"},        {"S", "USMALLINT"},      {"i", "INTEGER"},         {"I", "UINTEGER"},
    {"l", "BIGINT"},          {"L", "UBIGINT"},        {"f", "FLOAT"},           {"g", "DOUBLE"},
    {"u", "VARCHAR"},         {"U", "VARCHAR"},        {"vu", "VARCHAR"},        {"tdD", "DATE"},
    {"tdm", "DATE"},          {"tts", "TIME"},         {"ttm", "TIME"},          {"ttu", "TIME"},
    {"ttn", "TIME"},          {"tss:", "TIMESTAMP_S"}, {"tsm:", "TIMESTAMP_MS"}, {"tsu:", "TIMESTAMP"},
    {"tsn:", "TIMESTAMP_NS"},
};

// "d:10,2" or "d:10,2,128" as "DECIMAL(10,2)"; empty for a decimal that DuckDB doesn't have.
std::string DecimalType(std::string_view format) {
  int parts[3] = {0, 0, 128};  // precision, scale, bits
  const char* at = format.data() + 2;
  const char* const end = format.data() + format.size();
  for (int& part : parts) {
    const auto [next, error] = std::from_chars(at, end, part);
    if (error != std::errc()) return "";
    at = next;
    if (at == end) break;
    ++at;
  }
  const auto [precision, scale, bits] = parts;
  constexpr int kMostDigits = 38;
  const bool isKnown = 1 <= precision && precision <= kMostDigits && 0 <= scale && scale <= precision;
  return isKnown && bits <= 128 ? fmt::format("DECIMAL({},{})", precision, scale) : "";
}

// What a type is called in a message.
std::string NameOfType(std::string_view format) {
  struct Kind {
    const char* start;
    const char* name;
  };
  constexpr Kind kKinds[] = {
      {"+l", "list"},
      {"+L", "list"},
      {"+vl", "list"},
      {"+vL", "list"},
      {"+w", "list"},
      {"+s", "struct"},
      {"+m", "map"},
      {"+u", "union"},
      {"+r", "run-end encoded column"},
      {"z", "binary"},
      {"Z", "binary"},
      {"vz", "binary"},
      {"w:", "binary"},
      {"e", "floating point number of 16 bits"},
      {"d:", "decimal of more than 128 bits"},
      {"ts", "timestamp with a time zone"},
      {"tD", "duration"},
      {"ti", "interval"},
  };
  for (const Kind& kind : kKinds) {
    if (format.starts_with(kind.start)) return fmt::format("{} (Arrow's \"{}\")", kind.name, format);
  }
  return fmt::format("Arrow's {}", QuotedWord(format));
}

// The SQL type of a column. A dictionary is its values.
std::string SqlTypeOf(const ArrowSchema& column, const std::string& name) {
  const char* const given = column.dictionary != nullptr ? column.dictionary->format : column.format;
  const std::string_view format = given == nullptr ? "" : given;
  const auto* const plain = std::find_if(std::begin(kPlainTypes), std::end(kPlainTypes),
                                         [&](const PlainType& type) { return format == type.format; });
  if (plain != std::end(kPlainTypes)) return plain->sql;
  std::string type = format.starts_with("d:") ? DecimalType(format) : "";
  if (!type.empty()) return type;
  throw DataError(fmt::format("column {} is of a type that can't be a variable: {}", QuotedWord(name),
                              NameOfType(format)));
}

// --- the stream ------------------------------------------------------------------------------------------

// A failure of the producer, in its own words where it has some.
DataError StreamError(ArrowArrayStream* stream, int code) {
  const char* const said = stream->get_last_error == nullptr ? nullptr : stream->get_last_error(stream);
  const std::string reason =
      said == nullptr || *said == '\0' ? std::generic_category().message(code) : std::string(said);
  return DataError("the stream of the frame failed: " + reason);
}

// Throws the error of a call of DuckDB, which is owned here.
void Check(duckdb_error_data error) {
  const std::unique_ptr<duckdb_error_data, void (*)(duckdb_error_data*)> owned(&error,
                                                                               duckdb_destroy_error_data);
  if (error != nullptr && duckdb_error_data_has_error(error)) {
    throw DataError(CleanReason(duckdb_error_data_message(error)));
  }
}

// Appends Arrow arrays to a table whose columns have the types of a schema.
class RowAppender {
public:
  RowAppender(DuckConnection& connection, const std::string& table, ArrowSchema* schema)
      : fConnection(connection) {
    ::Check(duckdb_schema_from_arrow(connection.Get(), schema, &fTypes));
    const duckdb_state state = duckdb_appender_create(connection.Get(), nullptr, table.c_str(), &fAppender);
    if (state == DuckDBSuccess) return;
    const std::string reason = CleanReason(duckdb_appender_error(fAppender));
    Destroy();
    throw DataError(reason);
  }
  ~RowAppender() { Destroy(); }
  RowAppender(const RowAppender&) = delete;
  RowAppender& operator=(const RowAppender&) = delete;

  void Append(ArrowArray* rows) {
    duckdb_data_chunk converted = nullptr;
    ::Check(duckdb_data_chunk_from_arrow(fConnection.Get(), rows, fTypes, &converted));
    const DuckChunk chunk(converted);
    Check(duckdb_append_data_chunk(fAppender, chunk.Get()));
  }
  void Close() { Check(duckdb_appender_close(fAppender)); }

private:
  void Check(duckdb_state state) const {
    if (state != DuckDBSuccess) throw DataError(CleanReason(duckdb_appender_error(fAppender)));
  }
  void Destroy() {
    duckdb_appender_destroy(&fAppender);
    duckdb_destroy_arrow_converted_schema(&fTypes);
  }

  DuckConnection& fConnection;
  duckdb_arrow_converted_schema fTypes = nullptr;
  duckdb_appender fAppender = nullptr;
};

// A block of rows of a batch, which borrows the batch. The offsets of rows go to the columns, since those of
// batch and column add up and DuckDB is surest with a single one.
class RowBlock {
public:
  RowBlock(const ArrowArray& batch, std::int64_t first, std::int64_t rows) : fBlock(batch) {
    fvColumns.reserve(static_cast<std::size_t>(batch.n_children));
    for (std::int64_t i = 0; i < batch.n_children; ++i) {
      ArrowArray& column = fvColumns.emplace_back(*batch.children[i]);
      column.offset += batch.offset + first;
      column.length = rows;
      if (column.n_buffers > 0) column.null_count = CountNulls(column);
      column.release = &NothingToRelease;
      fvPlaces.push_back(&column);
    }
    fBlock.offset = 0;
    fBlock.length = rows;
    fBlock.null_count = 0;
    fBlock.children = fvPlaces.data();
    fBlock.release = &NothingToRelease;
  }

  ArrowArray* Get() { return &fBlock; }

private:
  // DuckDB takes the -1 of a producer that hasn't counted for none, where it reads a dictionary.
  static std::int64_t CountNulls(const ArrowArray& column) {
    if (column.null_count == 0 || column.buffers[0] == nullptr) return 0;
    std::int64_t nulls = 0;
    const auto* const bits = static_cast<const std::uint8_t*>(column.buffers[0]);
    for (std::int64_t i = column.offset; i < column.offset + column.length; ++i) {
      nulls += 1 - (bits[i / 8] >> (i % 8) & 1);
    }
    return nulls;
  }
  static void NothingToRelease(ArrowArray* array) { array->release = nullptr; }

  ArrowArray fBlock;
  std::vector<ArrowArray> fvColumns;
  std::vector<ArrowArray*> fvPlaces;
};

// A producer can mark whole rows as null, which no row of a table is.
void RefuseNullRows(const ArrowArray& batch) {
  if (batch.null_count == 0 || batch.n_buffers < 1 || batch.buffers[0] == nullptr) return;
  const auto* const bits = static_cast<const std::uint8_t*>(batch.buffers[0]);
  for (std::int64_t i = batch.offset; i < batch.offset + batch.length; ++i) {
    if ((bits[i / 8] >> (i % 8) & 1) == 0) throw DataError("a row of the frame is null as a whole");
  }
}

// The batch has the columns that the schema announced, each with all rows.
void CheckShape(const ArrowArray& batch, std::size_t columns) {
  bool isGood = batch.length >= 0 && static_cast<std::size_t>(batch.n_children) == columns;
  for (std::int64_t i = 0; isGood && i < batch.n_children; ++i) {
    isGood = batch.children[i]->length >= batch.offset + batch.length;
  }
  if (!isGood) throw DataError("the stream of the frame has a batch that doesn't fit its schema");
}

}  // namespace

ArrowFrame::ArrowFrame(const HostSession& session) : fpWork(std::make_shared<WorkDatabase>(session)) {}

ArrowFrame::~ArrowFrame() = default;

// Names are checked before types, and all of it before the first row is read.
std::string ArrowFrame::ReadColumns(const ArrowSchema& schema) {
  if (std::string_view(schema.format) != "+s") {
    throw DataError("the stream has " + NameOfType(schema.format) + ", expected the columns of a table");
  }
  std::vector<std::string> names;
  for (std::int64_t i = 0; i < schema.n_children; ++i) {
    const char* const name = schema.children[i]->name;
    names.emplace_back(name == nullptr ? "" : name);
  }
  if (names.empty()) throw DataError("it has no column");
  CheckNamesDiffer(names);
  std::string list;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string type = SqlTypeOf(*schema.children[i], names[i]);
    const std::string sql = fmt::format("c{}", i);
    list += fmt::format("{}{} {}", i == 0 ? "" : ", ", sql, type);
    fvColumns.push_back({names[i], sql, type});
  }
  return list;
}

void ArrowFrame::Load(ArrowArrayStream* stream, const Poll& poll) {
  ArrowOwner<ArrowSchema> schema;
  if (const int code = stream->get_schema(stream, schema.Get()); code != 0) throw StreamError(stream, code);
  const std::string columns = ReadColumns(*schema.Get());
  DuckConnection connection = fpWork->Connect();
  fTable = fpWork->UniqueName("arrow");
  connection.Run(fmt::format("CREATE TABLE {} ({})", fTable, columns));
  RowAppender rows(connection, fTable, schema.Get());
  for (std::int64_t cases = 0;;) {
    ArrowOwner<ArrowArray> batch;
    if (const int code = stream->get_next(stream, batch.Get()); code != 0) throw StreamError(stream, code);
    if (!batch) break;
    CheckShape(*batch.Get(), fvColumns.size());
    RefuseNullRows(*batch.Get());
    const std::int64_t most =
        std::max<std::int64_t>(kBlockValues / static_cast<std::int64_t>(fvColumns.size()), kLeastRows);
    for (std::int64_t first = 0; first < batch.Get()->length; first += most) {
      if (poll(cases + first)) throw DataError("stopped");
      rows.Append(RowBlock(*batch.Get(), first, std::min(most, batch.Get()->length - first)).Get());
    }
    cases += batch.Get()->length;
    if (poll(cases)) throw DataError("stopped");
  }
  rows.Close();
}

void ArrowFrame::Lend(HostSession& session) const {
  session.Adopt(fpWork);
}

DataFrame ArrowFrame::Open(const FrameRules& rules) const {
  return OpenTable(fpWork, {kFrameName, fTable, fvColumns}, rules);
}
