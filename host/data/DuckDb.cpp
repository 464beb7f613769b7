#include "host/data/DuckDb.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFolderStem = "svselect-work-";

// Room for the other threads to work ahead of the reader of a stream.
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

// While it lives, a stop request ends what the connection is computing: a sort or a load of a large file
// would else be waited for. It asks from a thread of its own, since the statement holds the caller's.
class StopWatch {
public:
  explicit StopWatch(duckdb_connection connection) {
    try {
      fThread = std::jthread([this, connection](const std::stop_token& end) { Watch(end, connection); });
    } catch (const std::system_error&) {
      // no thread to be had: the statement is waited for
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
  std::jthread fThread;  // last, so that it ends before what it uses
};

// Gives 0, or the errno that tells why the folder can't be locked: ENOENT or EWOULDBLOCK when it is another
// process's. One that another process is making is locked a moment after it appears; its owner notices when
// it was taken for a stale one, see TemporaryFolder.
int LockFolder(const std::string& path, int* lock) {
  const int file = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (file < 0) return errno;
  struct stat opened {};
  struct stat named {};
  int fault = 0;
  if (flock(file, LOCK_EX | LOCK_NB) != 0 || fstat(file, &opened) != 0 || stat(path.c_str(), &named) != 0) {
    fault = errno;
  } else if (opened.st_ino != named.st_ino) {
    fault = ENOENT;
  }
  fault == 0 ? * lock = file : close(file);
  return fault;
}

void RemoveStaleFolders(const fs::path& parent) {
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(parent, ignored)) {
    if (!entry.path().filename().string().starts_with(kFolderStem)) continue;
    int lock = -1;
    if (LockFolder(entry.path().string(), &lock) != 0) continue;
    fs::remove_all(entry.path(), ignored);
    close(lock);
  }
}

class Config {
public:
  Config() {
    if (duckdb_create_config(&fConfig) != DuckDBSuccess) Fail("out of memory");
  }
  ~Config() { duckdb_destroy_config(&fConfig); }
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;

  void Set(const char* name, const std::string& value) {
    if (duckdb_set_config(fConfig, name, value.c_str()) != DuckDBSuccess) {
      Fail(fmt::format("DuckDB has no setting {} = {}", name, value).c_str());
    }
  }
  duckdb_config Get() const { return fConfig; }

private:
  duckdb_config fConfig = nullptr;
};

class Statement {
public:
  Statement(duckdb_connection connection, const std::string& sql) {
    if (duckdb_prepare(connection, sql.c_str(), &fStatement) == DuckDBSuccess) return;
    const char* const message = duckdb_prepare_error(fStatement);
    const std::string reason = message == nullptr ? "" : message;
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

std::string CleanReason(const char* message) {
  std::string_view reason(message == nullptr ? "" : message);
  reason = reason.substr(0, reason.find('\n'));
  constexpr std::string_view kClass = " Error: ";
  // The class is a few words before the first colon; a reason may hold one of its own, as "IO Error: "
  // inside.
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

// While an exception is on its way, DuckDB lets a connection go without ending its query, whose threads then
// read on in what is gone; another statement ends it.
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
  const StopWatch watch(Get());
  const Statement statement(Get(), sql);
  duckdb_pending_result pending = nullptr;
  const duckdb_state started = duckdb_pending_prepared_streaming(statement.Get(), &pending);
  duckdb_result raw{};
  const bool isGood = started == DuckDBSuccess && duckdb_execute_pending(pending, &raw) == DuckDBSuccess;
  DuckResult result(raw);
  const char* const message =
      started == DuckDBSuccess ? duckdb_result_error(&raw) : duckdb_pending_error(pending);
  const std::string reason = isGood || message == nullptr ? "" : message;
  duckdb_destroy_pending(&pending);
  if (!isGood) Fail(reason.c_str());
  return result;
}

std::vector<std::string> DuckConnection::QueryColumns(const std::string& sql) {
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

// --- the work database -----------------------------------------------------------------------------------

TemporaryFolder::TemporaryFolder() {
  std::error_code error;
  const fs::path parent = fs::temp_directory_path(error);
  if (error) throw DataError(fmt::format("no temporary folder, see TMPDIR: {}", error.message()));
  RemoveStaleFolders(parent);
  int fault = 0;
  do {
    fPath = (parent / (std::string(kFolderStem) + "XXXXXX")).string();
    fault = mkdtemp(fPath.data()) == nullptr ? errno : LockFolder(fPath, &fLock);
    if (fault == 0) return;
  } while (fs::is_directory(parent, error) && (fault == ENOENT || fault == EWOULDBLOCK));
  fs::remove(fPath, error);
  throw DataError(fmt::format("no temporary folder can be made in {}, see TMPDIR: {}", parent.string(),
                              std::generic_category().message(fault)));
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(fPath, ignored);
  close(fLock);
}

WorkDatabase::WorkDatabase() {
  Config config;
  config.Set("threads", std::to_string(std::max(1, GETTHREADS())));
  config.Set("temp_directory", fFolder.Path());
  config.Set("preserve_insertion_order", "true");
  config.Set("autoload_known_extensions", "false");
  config.Set("autoinstall_known_extensions", "false");
  config.Set("enable_external_file_cache", "false");
  duckdb_database database = nullptr;
  char* message = nullptr;
  if (duckdb_open_ext(nullptr, &database, config.Get(), &message) != DuckDBSuccess) {
    const std::string reason = CleanReason(message);
    duckdb_free(message);
    throw DataError(reason);
  }
  fpDatabase.reset(database);
  Connect().Run("SET GLOBAL TimeZone = 'UTC'");  // times with a zone read the same on every machine
}

WorkDatabase& WorkDatabase::Current() {
  return HostSession::Current().Layer<WorkDatabase>();
}

std::string WorkDatabase::UniqueName(std::string_view stem) {
  return fmt::format("{}_{}", stem, ++fNames);
}

std::shared_ptr<const void> WorkDatabase::Hold(const std::string& release) {
  const auto remove = [this, release](const void*) {
    try {
      Connect().Run(release);
    } catch (const DataError&) {
      // It goes with the database at the end of the session.
    }
  };
  return std::shared_ptr<const void>(this, remove);
}
