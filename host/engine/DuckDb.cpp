#include "host/engine/DuckDb.h"

#include <fmt/format.h>

#include <chrono>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "host/environment/MCStopProcessor.h"

namespace {

// How far DuckDB's threads may work ahead of the reader of a stream.
constexpr const char* kStreamingBuffer = "16MB";

std::string Quote(std::string_view text, char quote) {
  std::string quoted(1, quote);
  for (const char c : text) {
    if (c == quote) quoted += quote;
    quoted += c;
  }
  return quoted += quote;
}

[[noreturn]] void Fail(const char* message) {
  throw DataError(CleanReason(message));
}

// While it lives, a stop request ends what the connection is computing; else a user who interrupts a run
// would wait for the sort of a large file. It polls from a thread of its own, since the statement blocks the
// caller's.
class StopWatch {
public:
  explicit StopWatch(duckdb_connection connection) {
    try {
      fThread = std::jthread([this, connection](const std::stop_token& end) { Watch(end, connection); });
    } catch (const std::system_error&) {
      // No thread is available: a stop request then waits for the statement.
    }
  }

private:
  void Watch(const std::stop_token& end, duckdb_connection connection) {
    constexpr std::chrono::milliseconds kPause(50);
    std::unique_lock lock(fMutex);
    while (!fWake.wait_for(lock, end, kPause, [&] { return end.stop_requested(); })) {
      if (StopRequested()) duckdb_interrupt(connection);
    }
  }

  std::mutex fMutex;
  std::condition_variable_any fWake;
  std::jthread fThread;  // last member: it is joined before the others, which it uses, are destroyed
};

// A prepared statement.
class Statement {
public:
  Statement(duckdb_connection connection, const std::string& sql) {
    if (duckdb_prepare(connection, sql.c_str(), &fStatement) == DuckDBSuccess) return;
    const char* const message = duckdb_prepare_error(fStatement);
    const std::string reason = message == nullptr ? "" : message;  // copied: the statement owns it
    duckdb_destroy_prepare(&fStatement);
    Fail(reason.c_str());
  }
  ~Statement() { duckdb_destroy_prepare(&fStatement); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  duckdb_prepared_statement Get() const { return fStatement; }

private:
  duckdb_prepared_statement fStatement = nullptr;
};

}  // namespace

std::string QuoteIdentifier(std::string_view name) {
  return Quote(name, '"');
}
std::string QuoteLiteral(std::string_view text) {
  return Quote(text, '\'');
}

// In brackets the special characters of a pattern are ordinary ones.
std::string FileLiteral(const std::string& path) {
  std::string pattern;
  for (const char c : std::filesystem::absolute(path).string()) {
    const bool isSpecial = c == '*' || c == '?' || c == '[';
    pattern += isSpecial ? fmt::format("[{}]", c) : std::string(1, c);
  }
  return QuoteLiteral(pattern);
}

std::string CleanReason(const char* message) {
  std::string_view reason(message == nullptr ? "" : message);
  reason = reason.substr(0, reason.find('\n'));
  constexpr std::string_view kClass = " Error: ";
  // A class is in front if the first colon of the text is that of " Error: " (6 bytes into it). So the words
  // "IO Error: " deep inside a reason stay, but "Invalid Error: IO Error: " goes as a whole.
  for (std::size_t at = reason.find(kClass); at != std::string_view::npos && reason.find(':') == at + 6;
       at = reason.find(kClass)) {
    reason.remove_prefix(at + kClass.size());
  }
  while (!reason.empty() && (reason.back() == ' ' || reason.back() == '.')) reason.remove_suffix(1);
  return reason.empty() ? "DuckDB failed without a reason" : std::string(reason);
}

// --- results and connections -----------------------------------------------------------------------------

DuckResult::~DuckResult() {
  duckdb_destroy_result(&fResult);
}

DuckResult::DuckResult(DuckResult&& other) noexcept : fResult(std::exchange(other.fResult, {})) {}

DuckResult& DuckResult::operator=(DuckResult&& other) noexcept {
  std::swap(fResult, other.fResult);
  return *this;
}

DuckChunk DuckResult::Fetch() {
  if (StopRequested()) Fail("stopped");
  DuckChunk chunk(duckdb_fetch_chunk(fResult));
  if (!chunk) {
    const char* message = duckdb_result_error(&fResult);
    if (message != nullptr && *message != '\0') Fail(message);
  }
  return chunk;
}

DuckConnection::DuckConnection(duckdb_database database) {
  duckdb_connection connection = nullptr;
  if (duckdb_connect(database, &connection) != DuckDBSuccess) Fail("no connection to the database");
  fpConnection.reset(connection);
  Run(fmt::format("SET streaming_buffer_size = '{}'", kStreamingBuffer));
}

// During the unwinding of an exception DuckDB's disconnect doesn't end a running query. Its threads then go
// on to use objects that are destroyed. Running any other statement first does end the query; its result is
// thrown away.
void DuckConnection::Disconnect::operator()(duckdb_connection connection) const {
  if (std::uncaught_exceptions() > 0) duckdb_query(connection, "SELECT 1", nullptr);
  duckdb_disconnect(&connection);
}

void DuckConnection::Run(const std::string& sql) {
  Query(sql);
}

DuckResult DuckConnection::Query(const std::string& sql) {
  const StopWatch watch(Get());
  duckdb_result raw{};
  const duckdb_state state = duckdb_query(Get(), sql.c_str(), &raw);
  DuckResult result(raw);
  if (state != DuckDBSuccess) Fail(duckdb_result_error(&raw));
  return result;
}

DuckResult DuckConnection::Stream(const std::string& sql) {
  const StopWatch watch(Get());  // while it is started: a sort is done before the first row comes
  const Statement statement(Get(), sql);
  duckdb_pending_result pending = nullptr;
  const duckdb_state started = duckdb_pending_prepared_streaming(statement.Get(), &pending);
  duckdb_result raw{};
  const bool isGood = started == DuckDBSuccess && duckdb_execute_pending(pending, &raw) == DuckDBSuccess;
  DuckResult result(raw);
  const char* const message =
      started == DuckDBSuccess ? duckdb_result_error(&raw) : duckdb_pending_error(pending);
  const std::string reason = isGood || message == nullptr ? "" : message;  // copied: `pending` owns it
  duckdb_destroy_pending(&pending);
  if (!isGood) Fail(reason.c_str());
  return result;
}

// Only a query can be serialized, and that takes no more than to parse it. To prepare a statement already
// makes folders if it is an EXPORT DATABASE.
bool DuckConnection::IsNoQuery(const std::string& sql) {
  const char* const parse =
      "SELECT coalesce(json_serialize_sql({})->>'error_type' = 'not implemented', false)";
  return Query(fmt::format(fmt::runtime(parse), QuoteLiteral(sql))).Fetch().Values<bool>(0)[0];
}

std::vector<std::string> DuckConnection::QueryColumns(const std::string& sql) {
  if (IsNoQuery(sql)) Fail("a statement that isn't a query");
  const Statement statement(Get(), sql);
  if (duckdb_prepared_statement_type(statement.Get()) != DUCKDB_STATEMENT_TYPE_SELECT) {
    Fail("a statement that isn't a query");
  }
  std::vector<std::string> names;
  for (idx_t i = 0; i < duckdb_prepared_statement_column_count(statement.Get()); ++i) {
    const char* const name = duckdb_prepared_statement_column_name(statement.Get(), i);
    names.emplace_back(name == nullptr ? "" : name);
    duckdb_free(const_cast<char*>(name));
  }
  return names;
}
