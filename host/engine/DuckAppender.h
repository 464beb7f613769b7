#pragma once

#include <duckdb.h>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "host/engine/DuckDb.h"

// DuckAppender fills a table of the work database with rows. It collects a block of rows in DuckDB's own
// layout and hands over whole blocks.
//
// Use:        for each row SetNumber(), SetText() or SetNull() for every column, then EndRow(); Close() once.
//             Destroyed without Close(), it may leave any part of the rows in the table.
// Ownership:  borrows the connection, which must outlive it and may run nothing else meanwhile.
// Failures:   DataError with DuckDB's reason alone, at the latest from Close().
// Cost:       nothing is allocated for a row, except by DuckDB for texts of more than 12 bytes.
class DuckAppender {
public:
  // `types` are those of the table's columns: DUCKDB_TYPE_DOUBLE or DUCKDB_TYPE_VARCHAR. At least one.
  DuckAppender(DuckConnection& connection, const std::string& table, const std::vector<duckdb_type>& types);

  // REQUIRES: the column's type fits.
  void SetNumber(std::size_t column, double number) { fvColumns[column].numbers[fRows] = number; }
  void SetText(std::size_t column, std::string_view text) {
    duckdb_vector_assign_string_element_len(fvColumns[column].vector, fRows, text.data(), text.size());
  }
  void SetNull(std::size_t column);

  // Ends the row. True if that completed a block, which is then in the table.
  bool EndRow() {
    if (++fRows < fBlockRows) return false;
    Flush();
    return true;
  }

  // Appends the remaining rows.
  void Close();

private:
  // A column of the current block.
  struct Column {
    duckdb_vector vector;
    double* numbers;  // the vector's; unused for texts
  };
  struct Destroy {
    void operator()(duckdb_appender appender) const { duckdb_appender_destroy(&appender); }
  };

  void StartBlock();
  void Flush();
  void Check(duckdb_state state) const;

  std::unique_ptr<std::remove_pointer_t<duckdb_appender>, Destroy> fpAppender;
  DuckChunk fChunk;
  std::vector<Column> fvColumns;
  std::size_t fBlockRows;  // rows of a whole block
  std::size_t fRows = 0;   // of the current block
};
