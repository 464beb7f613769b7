#pragma once

#include <duckdb.h>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "host/engine/DuckDb.h"
#include "host/files/TemporaryFolder.h"

class HostSession;

// WorkDatabase is a database in memory that spills to a temporary folder. The session's own is a layer of
// HostSession: data files are scanned from it, and text files and the cases of outputs become tables in it. A
// native file is a database of somebody else and is attached to another one, which AllowOnly() shuts off from
// all files but this.
//
// Use:        readers, engines and stores are given it and make connections of their own.
// Ownership:  owns the database and the temporary folder. Shared by the session and the frames in it.
// Threads:    that of the session for everything but the connections.
// Failures:   DataError, also from the constructor.
class WorkDatabase : public std::enable_shared_from_this<WorkDatabase> {
public:
  // `memory` is the part that it may take of what DuckDB takes by default.
  explicit WorkDatabase(const HostSession& session, double memory = 1.0);

  // Lets the database open these files alone from now on, besides its temporary ones, and load no extension.
  // DuckDB has no way back. The paths must be spelt as they will be in statements.
  void AllowOnly(const std::vector<std::string>& paths);

  // That statements may use.
  int Threads() const { return fThreads; }

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
  int fThreads;
  TemporaryFolder fFolder;  // before the database, which may have files in it to its end
  std::unique_ptr<std::remove_pointer_t<duckdb_database>, Close> fpDatabase;
  int fNames = 0;  // given out by UniqueName()
};
