#pragma once

#include <duckdb.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "host/engine/DuckDb.h"

class KORV_Case;
struct Dictionary;

// CaseBlock appends cases to a table of the work database, a block of rows at a time. Column k of the table
// is named ck; it is a DOUBLE or a VARCHAR, with a null where a case has no value.
//
// Ownership:  the table goes with the object.
// Errors:     DataError.
class CaseBlock {
public:
  explicit CaseBlock(const Dictionary& dictionary);
  ~CaseBlock();
  CaseBlock(const CaseBlock&) = delete;
  CaseBlock& operator=(const CaseBlock&) = delete;

  void Append(const KORV_Case& values);
  // Everything is in the table, and no more cases come.
  void Finish();

  // Work on the table, once it is finished.
  DuckConnection& Connection() { return fConnection; }
  const std::string& Table() const { return fTable; }

private:
  struct Column {
    int width;  // 0 for a number
    duckdb_vector vector;
    double* numbers;  // of the vector; null for a string
  };
  struct DestroyAppender {
    void operator()(duckdb_appender appender) const { duckdb_appender_destroy(&appender); }
  };

  void StartBlock();
  void Flush();
  void Check(duckdb_state state) const;

  DuckConnection fConnection;
  std::string fTable;
  std::vector<Column> fvColumns;
  DuckChunk fChunk;
  std::unique_ptr<std::remove_pointer_t<duckdb_appender>, DestroyAppender> fpAppender;
  std::size_t fRows = 0;  // of the block
};
