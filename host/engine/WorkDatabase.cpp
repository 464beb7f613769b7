#include "host/engine/WorkDatabase.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"

namespace {

// The settings that a database is opened with.
class Config {
public:
  Config() {
    if (duckdb_create_config(&fConfig) == DuckDBSuccess) return;
    throw DataError("DuckDB can't make its configuration");
  }
  ~Config() { duckdb_destroy_config(&fConfig); }
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;

  void Set(const char* name, const std::string& value) {
    if (duckdb_set_config(fConfig, name, value.c_str()) != DuckDBSuccess) {
      throw DataError(fmt::format("DuckDB has no setting {} = {}", name, value));
    }
  }
  duckdb_config Get() const { return fConfig; }

private:
  duckdb_config fConfig = nullptr;
};

// Cuts DuckDB's limit, which it shows as in "18.8 GiB", down to a part of it.
void LimitMemory(DuckConnection& connection, double part) {
  DuckResult result = connection.Query("SELECT current_setting('memory_limit')");
  const DuckChunk chunk = result.Fetch();
  const std::string limit(TextOf(chunk.Values<duckdb_string_t>(0)[0]));
  double amount = 0.0;
  const char* const end = std::from_chars(limit.data(), limit.data() + limit.size(), amount).ptr;
  connection.Run(fmt::format("SET GLOBAL memory_limit = '{:.3f}{}'", amount * part, end));
}

}  // namespace

WorkDatabase::WorkDatabase(const HostSession& session, double memory)
    : fThreads(std::max(1, session.Threads())) {
  Config config;
  config.Set("threads", std::to_string(fThreads));
  config.Set("temp_directory", fFolder.Path());
  // The order of the cases decides the sample, so a file must be read in the order in which it is written.
  config.Set("preserve_insertion_order", "true");
  // Nothing is fetched from the network, whatever a query names.
  config.Set("autoload_known_extensions", "false");
  config.Set("autoinstall_known_extensions", "false");
  // A cached block would hide that a file was changed while it is being read.
  config.Set("enable_external_file_cache", "false");
  duckdb_database database = nullptr;
  char* message = nullptr;
  if (duckdb_open_ext(nullptr, &database, config.Get(), &message) != DuckDBSuccess) {
    const std::string reason = CleanReason(message);
    duckdb_free(message);
    throw DataError(reason);
  }
  fpDatabase.reset(database);
  DuckConnection connection = Connect();
  connection.Run("SET GLOBAL TimeZone = 'UTC'");  // times with a zone read the same on every machine
  if (memory < 1.0) LimitMemory(connection, memory);
}

void WorkDatabase::AllowOnly(const std::vector<std::string>& paths) {
  std::string list;
  for (const std::string& path : paths) list += (list.empty() ? "" : ", ") + QuoteLiteral(path);
  DuckConnection connection = Connect();
  connection.Run(fmt::format("SET allowed_paths = [{}]", list));
  connection.Run("SET enable_external_access = false");
}

std::string WorkDatabase::UniqueName(std::string_view stem) {
  return fmt::format("{}_{}", stem, ++fNames);  // no stem ends in a number, so no two names are equal
}

// A connection of its own: the one that made the thing may be gone, or busy with a stream.
std::shared_ptr<const void> WorkDatabase::Hold(const std::string& release) {
  const auto remove = [this, release](const void*) {
    try {
      Connect().Run(release);
    } catch (const DataError&) {
      // Whatever it was goes with the database at the end of the session.
    }
  };
  return std::shared_ptr<const void>(this, remove);  // the pointer only keeps the token from being null
}
