#pragma once

#include <fmt/format.h>

#include <string>

#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/model/TableSchema.h"
#include "host/read/TextFile.h"

// All that a reader makes of a text file, as one text: its error; or dictionary, types and every value in the order
// of the cases.
inline std::string TextOutcome(WorkDatabase& work, const std::string& path, FileKind kind,
                               const std::string& schema, TextReader reader) {
  try {
    const CaseRelation relation = OpenTextFile(work, path, kind, schema, reader);
    std::string outcome = WriteTableSchema(relation.dictionary);
    std::string list = "'row'";
    for (std::size_t i = 0; i < relation.columns.size(); ++i) {
      outcome +=
          fmt::format("\n{} {}", relation.columns[i].type, relation.dictionary.variables[i].ColumnType());
      list += fmt::format(", coalesce('<' || {}::VARCHAR || '>', '~')", relation.columns[i].sql);
    }
    DuckConnection connection = work.Connect();
    DuckResult result = connection.Query(fmt::format("SELECT concat({}) FROM {}", list, relation.from));
    while (const DuckChunk chunk = result.Fetch()) {
      for (std::size_t row = 0; row < chunk.Rows(); ++row)
        outcome.append("\n").append(TextOf(chunk.Values<duckdb_string_t>(0)[row]));
    }
    return outcome;
  } catch (const DataError& error) {
    return error.what();
  }
}
