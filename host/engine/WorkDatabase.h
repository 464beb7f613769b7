#pragma once

#include <duckdb.h>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/files/TemporaryFolder.h"

// The one database of a session: in memory, spilling to a temporary folder; data files are attached to it or
// scanned from it. A session layer.
class WorkDatabase {
public:
  WorkDatabase();
  static WorkDatabase& Current();

  DuckConnection Connect() const { return DuckConnection(fpDatabase.get()); }

  // Something that lives in the database: `release` is the statement that removes it once nobody holds it.
  std::shared_ptr<const void> Hold(const std::string& release);

  // A name for a table or an attached file that nothing else in the session has.
  std::string UniqueName(std::string_view stem);

private:
  struct Close {
    void operator()(duckdb_database database) const { duckdb_close(&database); }
  };
  TemporaryFolder fFolder;
  std::unique_ptr<std::remove_pointer_t<duckdb_database>, Close> fpDatabase;
  int fNames = 0;
};
