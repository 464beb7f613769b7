#include "host/write/CaseBlock.h"

#include <fmt/format.h>

#include <cmath>

#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/model/Dictionary.h"
#include "host/model/KORV_Case.h"
#include "host/model/Values.h"
#include "host/numeric/Obs.h"

namespace {

void SetNull(duckdb_vector vector, std::size_t row) {
  duckdb_vector_ensure_validity_writable(vector);
  duckdb_validity_set_row_invalid(duckdb_vector_get_validity(vector), row);
}

DuckChunk MakeChunk(const Dictionary& dictionary) {
  std::vector<duckdb_logical_type> types;
  for (const KORV_Variable& variable : dictionary.variables) {
    types.push_back(
        duckdb_create_logical_type(variable.GetType() > 0 ? DUCKDB_TYPE_VARCHAR : DUCKDB_TYPE_DOUBLE));
  }
  DuckChunk chunk(duckdb_create_data_chunk(types.data(), types.size()));
  for (duckdb_logical_type& type : types) duckdb_destroy_logical_type(&type);
  return chunk;
}

}  // namespace

CaseBlock::CaseBlock(const Dictionary& dictionary)
    : fConnection(WorkDatabase::Current().Connect()), fTable(WorkDatabase::Current().UniqueName("output")) {
  if (dictionary.variables.empty()) throw DataError("there is no variable to write");
  std::string columns;
  for (const KORV_Variable& variable : dictionary.variables) {
    const char* type = variable.GetType() > 0 ? "VARCHAR" : "DOUBLE";
    columns += fmt::format("{}c{} {}", columns.empty() ? "" : ", ", fvColumns.size(), type);
    fvColumns.push_back({variable.GetType(), nullptr, nullptr});
  }
  fConnection.Run(fmt::format("CREATE TABLE {} ({})", fTable, columns));
  fChunk = MakeChunk(dictionary);
  duckdb_appender appender = nullptr;
  const duckdb_state state = duckdb_appender_create(fConnection.Get(), nullptr, fTable.c_str(), &appender);
  fpAppender.reset(appender);
  Check(state);
  StartBlock();
}

CaseBlock::~CaseBlock() {
  fpAppender.reset();
  try {
    fConnection.Run(fmt::format("DROP TABLE IF EXISTS {}", fTable));
  } catch (const DataError&) {  // the session ends with the table
  }
}

void CaseBlock::Check(duckdb_state state) const {
  if (state == DuckDBSuccess) return;
  throw DataError(CleanReason(duckdb_appender_error(fpAppender.get())));
}

void CaseBlock::StartBlock() {
  duckdb_data_chunk_reset(fChunk.Get());
  for (std::size_t i = 0; i < fvColumns.size(); ++i) {
    fvColumns[i].vector = fChunk.Vector(i);
    fvColumns[i].numbers = fvColumns[i].width == 0 ? fChunk.Values<double>(i) : nullptr;
  }
  fRows = 0;
}

void CaseBlock::Flush() {
  duckdb_data_chunk_set_size(fChunk.Get(), fRows);
  Check(duckdb_append_data_chunk(fpAppender.get(), fChunk.Get()));
  StartBlock();
}

void CaseBlock::Append(const KORV_Case& values) {
  for (std::size_t i = 0; i < fvColumns.size(); ++i) {
    const Column& column = fvColumns[i];
    const OBS* cells = values.GetObsPointer(static_cast<int>(i));
    if (column.width == 0) {
      const double number = cells->number;
      column.numbers[fRows] = number;
      if (number == MCMV::gMissingValue || !std::isfinite(number)) SetNull(column.vector, fRows);
      continue;
    }
    const std::string_view text =
        TrimRight({reinterpret_cast<const char*>(cells), static_cast<std::size_t>(column.width)});
    if (text.empty()) {
      SetNull(column.vector, fRows);
    } else {
      duckdb_vector_assign_string_element_len(column.vector, fRows, text.data(), text.size());
    }
  }
  if (++fRows == duckdb_vector_size()) Flush();
}

void CaseBlock::Finish() {
  if (fRows > 0) Flush();
  Check(duckdb_appender_close(fpAppender.get()));
}
