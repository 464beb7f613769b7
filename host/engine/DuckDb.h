#pragma once

#include <duckdb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "host/environment/HostErrors.h"

// Owning handles over DuckDB's C API. Only source files of this folder include this header: what the
// procedure includes never shows DuckDB.
//
// Errors:   every operation that can fail throws DataError with DuckDB's own reason as one clean line; so
// does a statement that a stop request has ended. Threads:  a connection and its results belong to one
// thread; connections of one database may run in parallel.

// "name" and 'text' as SQL writes them, with their quotes doubled.
std::string QuoteIdentifier(std::string_view name);
std::string QuoteLiteral(std::string_view text);

// DuckDB's message as one line without its error class, its hints and the echo of the statement; it may be
// null.
std::string CleanReason(const char* message);

// A block of rows, as DuckDB hands it out: at most duckdb_vector_size() rows, column by column.
class DuckChunk {
public:
  DuckChunk() = default;
  explicit DuckChunk(duckdb_data_chunk chunk) : fpChunk(chunk) {}

  explicit operator bool() const { return fpChunk != nullptr; }
  duckdb_data_chunk Get() const { return fpChunk.get(); }
  std::size_t Rows() const { return duckdb_data_chunk_get_size(Get()); }

  // The values of a column; where IsNull() the value is undefined.
  template <class T>
  T* Values(std::size_t column) const {
    return static_cast<T*>(duckdb_vector_get_data(Vector(column)));
  }
  // A bit for each row, 0 for a null; null when no row is null.
  const std::uint64_t* Validity(std::size_t column) const {
    return duckdb_vector_get_validity(Vector(column));
  }
  bool IsNull(std::size_t column, std::size_t row) const {
    const std::uint64_t* validity = Validity(column);
    return validity != nullptr && (validity[row / 64] >> (row % 64) & 1) == 0;
  }
  duckdb_vector Vector(std::size_t column) const { return duckdb_data_chunk_get_vector(Get(), column); }

private:
  struct Destroy {
    void operator()(duckdb_data_chunk chunk) const { duckdb_destroy_data_chunk(&chunk); }
  };
  std::unique_ptr<std::remove_pointer_t<duckdb_data_chunk>, Destroy> fpChunk;
};

// The text of a string cell; it lives as long as its chunk.
inline std::string_view TextOf(const duckdb_string_t& cell) {
  const std::uint32_t length = cell.value.inlined.length;
  return {length <= sizeof cell.value.inlined.inlined ? cell.value.inlined.inlined : cell.value.pointer.ptr,
          length};
}

// A result of a statement, materialized or streamed; its chunks are fetched one by one.
class DuckResult {
public:
  explicit DuckResult(duckdb_result result) : fResult(result) {}
  ~DuckResult();
  DuckResult(DuckResult&& other) noexcept;
  DuckResult& operator=(DuckResult&& other) noexcept;

  std::size_t Columns() { return duckdb_column_count(&fResult); }
  std::string Name(std::size_t column) { return duckdb_column_name(&fResult, column); }
  duckdb_type Type(std::size_t column) { return duckdb_column_type(&fResult, column); }

  // The next chunk; a false one at the end.
  DuckChunk Fetch();

private:
  duckdb_result fResult;
};

class DuckConnection {
public:
  explicit DuckConnection(duckdb_database database);

  // Runs one or more statements for their effect.
  void Run(const std::string& sql);
  // Runs one statement and holds its whole result.
  DuckResult Query(const std::string& sql);
  // Starts a statement; its rows are computed as they are fetched, in insertion order.
  // REQUIRES: the connection runs nothing else while the result lives.
  DuckResult Stream(const std::string& sql);

  // The names of the columns that a query gives.
  // Errors: DataError also when the text isn't one statement that gives rows and changes nothing.
  std::vector<std::string> QueryColumns(const std::string& sql);

  duckdb_connection Get() const { return fpConnection.get(); }

private:
  struct Disconnect {
    void operator()(duckdb_connection connection) const;
  };
  std::unique_ptr<std::remove_pointer_t<duckdb_connection>, Disconnect> fpConnection;
};
