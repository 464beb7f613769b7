#include "host/engine/DuckAppender.h"

#include "host/environment/HostErrors.h"

DuckAppender::DuckAppender(DuckConnection& connection, const std::string& table,
                           const std::vector<duckdb_type>& types)
    : fvColumns(types.size()), fBlockRows(duckdb_vector_size()) {
  duckdb_appender appender = nullptr;
  const duckdb_state state = duckdb_appender_create(connection.Get(), nullptr, table.c_str(), &appender);
  fpAppender.reset(appender);  // there is one even after a failure: it holds the reason
  Check(state);
  std::vector<duckdb_logical_type> logical;
  logical.reserve(types.size());
  for (const duckdb_type type : types) logical.push_back(duckdb_create_logical_type(type));
  fChunk = DuckChunk(duckdb_create_data_chunk(logical.data(), logical.size()));
  for (duckdb_logical_type& type : logical) duckdb_destroy_logical_type(&type);
  StartBlock();
}

void DuckAppender::Check(duckdb_state state) const {
  if (state != DuckDBSuccess) throw DataError(CleanReason(duckdb_appender_error(fpAppender.get())));
}

// Makes the chunk empty; the nulls of the block before are gone too.
void DuckAppender::StartBlock() {
  duckdb_data_chunk_reset(fChunk.Get());
  for (std::size_t i = 0; i < fvColumns.size(); ++i) {
    fvColumns[i] = {fChunk.Vector(i), fChunk.Values<double>(i)};  // a reset may move them
  }
  fRows = 0;
}

// The bits for nulls are made only when the first null of a block comes.
void DuckAppender::SetNull(std::size_t column) {
  const duckdb_vector vector = fvColumns[column].vector;
  duckdb_vector_ensure_validity_writable(vector);
  duckdb_validity_set_row_invalid(duckdb_vector_get_validity(vector), fRows);
}

void DuckAppender::Flush() {
  duckdb_data_chunk_set_size(fChunk.Get(), fRows);
  Check(duckdb_append_data_chunk(fpAppender.get(), fChunk.Get()));
  StartBlock();
}

void DuckAppender::Close() {
  if (fRows > 0) Flush();
  Check(duckdb_appender_close(fpAppender.get()));
}
