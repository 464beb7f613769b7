#pragma once

#include <duckdb.h>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "host/engine/DuckDb.h"
#include "host/files/TemporaryFolder.h"

class HostSession;

// WorkDatabase is the one database of a session. It is in memory and spills to a temporary folder; data files
// are attached to it or scanned from it, and text files and the cases of outputs become tables in it.
//
// Use:        a layer of HostSession. Readers, engines and stores are given it and make connections of their
//             own. Layers that hold cursors or relations must be made after it, so that they go before it.
// Ownership:  owns the database and the temporary folder.
// Threads:    that of the session for everything but the connections.
// Failures:   DataError, also from the constructor.
class WorkDatabase {
public:
  explicit WorkDatabase(const HostSession& session);

  DuckConnection Connect() const { return DuckConnection(fpDatabase.get()); }

  // A token for something in the database. The statement `release` removes that thing when the last copy of
  // the token goes, which must be before the database does.
  std::shared_ptr<const void> Hold(const std::string& release);

  // A name for a table or an attached file that nothing else in the session has.
  std::string UniqueName(std::string_view stem);

private:
  struct Close {
    void operator()(duckdb_database database) const { duckdb_close(&database); }
  };
  TemporaryFolder fFolder;  // before the database, which may have files in it to its end
  std::unique_ptr<std::remove_pointer_t<duckdb_database>, Close> fpDatabase;
  int fNames = 0;  // given out by UniqueName()
};
