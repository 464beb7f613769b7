#pragma once

#include <duckdb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "host/environment/HostErrors.h"

// Owning handles over DuckDB's C API, for host/engine, host/read and host/write alone.
//
// The C API is used rather than the C++ one because it is stable between versions. Its reasons for a failure
// are in four places, depending on what failed: duckdb_prepare_error, duckdb_pending_error,
// duckdb_result_error (also for a failed fetch) and duckdb_appender_error. Each is read here, before the
// object that owns it is destroyed.
//
// Ownership:  each handle owns its object. A result must go before its connection, a connection before the
//             database.
// Threads:    a connection and its results belong to one thread. Connections of one database may run in
//             parallel.
// Failures:   DataError with DuckDB's reason as one clean line. A statement that a stop request has ended
//             fails too. No handle knows a file's name: callers put it in front with Named().

// "name" and 'text' in SQL notation, with quotes inside doubled.
std::string QuoteIdentifier(std::string_view name);
std::string QuoteLiteral(std::string_view text);
// A path as the literal that names this one file: DuckDB takes a path for a pattern of several names.
std::string FileLiteral(const std::string& path);

// The reason in one of DuckDB's messages: its first line without the error classes in front ("IO Error: ",
// also several of them) and without blanks and full stops at the end. The lines after it are hints and an
// echo of the statement, which the user didn't write. `message` may be null.
std::string CleanReason(const char* message);

// DuckChunk is a block of at most duckdb_vector_size() rows, column by column, in DuckDB's own layout. It may
// be empty (false), as after the last block.
class DuckChunk {
public:
  DuckChunk() = default;
  explicit DuckChunk(duckdb_data_chunk chunk) : fpChunk(chunk) {}

  explicit operator bool() const { return fpChunk != nullptr; }
  duckdb_data_chunk Get() const { return fpChunk.get(); }
  std::size_t Rows() const { return duckdb_data_chunk_get_size(Get()); }

  // The values of a column. Where IsNull() is true the value is undefined.
  template <class T>
  T* Values(std::size_t column) const {
    return static_cast<T*>(duckdb_vector_get_data(Vector(column)));
  }
  // One bit for each row, 0 if its value is null. A null pointer means that no value is.
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

// The text of a string cell, valid as long as its chunk. DuckDB keeps up to 12 bytes in the cell itself.
inline std::string_view TextOf(const duckdb_string_t& cell) {
  const std::uint32_t length = cell.value.inlined.length;
  return {length <= sizeof cell.value.inlined.inlined ? cell.value.inlined.inlined : cell.value.pointer.ptr,
          length};
}

// DuckResult is the result of a statement, complete or streamed. Its chunks are fetched one by one.
class DuckResult {
public:
  explicit DuckResult(duckdb_result result) : fResult(result) {}
  ~DuckResult();
  DuckResult(DuckResult&& other) noexcept;
  DuckResult& operator=(DuckResult&& other) noexcept;

  std::size_t Columns() { return duckdb_column_count(&fResult); }
  std::string Name(std::size_t column) { return duckdb_column_name(&fResult, column); }
  duckdb_type Type(std::size_t column) { return duckdb_column_type(&fResult, column); }
  // The type with its parameters, which the caller must destroy.
  duckdb_logical_type LogicalType(std::size_t column) { return duckdb_column_logical_type(&fResult, column); }

  // The next chunk; an empty one at the end.
  DuckChunk Fetch();

private:
  duckdb_result fResult;
};

// DuckConnection runs statements. A stop request interrupts the statement that is running.
class DuckConnection {
public:
  explicit DuckConnection(duckdb_database database);

  // Runs one or more statements for their effect.
  void Run(const std::string& sql);
  // Runs one statement and keeps its complete result.
  DuckResult Query(const std::string& sql);
  // Starts a statement whose rows are computed as they are fetched, in insertion order. Memory stays small,
  // whatever the size of the file. REQUIRES: the connection runs nothing else while the result lives.
  DuckResult Stream(const std::string& sql);

  // The names of the columns that a query gives, without running it.
  // Errors: DataError also if the text isn't exactly one statement, or one that isn't a query.
  std::vector<std::string> QueryColumns(const std::string& sql);

  duckdb_connection Get() const { return fpConnection.get(); }

private:
  bool IsNoQuery(const std::string& sql);

  struct Disconnect {
    void operator()(duckdb_connection connection) const;
  };
  std::unique_ptr<std::remove_pointer_t<duckdb_connection>, Disconnect> fpConnection;
};
