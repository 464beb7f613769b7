#include "host/engine/WorkDatabase.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"

namespace {

class Config {
public:
  Config() {
    if (duckdb_create_config(&fConfig) != DuckDBSuccess)
      throw DataError("DuckDB can't make its configuration: out of memory");
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

}  // namespace

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
