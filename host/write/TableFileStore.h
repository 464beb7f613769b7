#pragma once

#include <memory>

#include "host/files/FileKind.h"
#include "host/write/IndependentDataStore.h"

class CaseBlock;
class MemoryTables;
class WorkDatabase;

// TableFileStore writes a native or a Parquet file, or keeps a table in memory for the session's caller. While cases come they are collected in a table of the
// work database, as doubles and texts, block by block; the database spills to disk when they get many.
// CloseStore() then writes the file from that table in one statement, with each column cast to its own type.
//
// The detour costs a copy. It buys one writer for both kinds, columns whose types are only known to SQL, and
// a Parquet file with row groups of full size.
//
// Failures:  as of any store. A value that doesn't fit its column's type fails in CloseStore().
class TableFileStore : public IndependentDataStore {
public:
  TableFileStore(HostSession& session, OutputFile* file, FileKind kind);
  ~TableFileStore() override;

protected:
  void Begin() override;
  void Append(const KORV_Case& values) override;
  void End() override;

private:
  WorkDatabase& fWork;
  MemoryTables& fTables;
  FileKind fKind;
  std::unique_ptr<CaseBlock> fpBlock;  // null unless cases can be taken
};
