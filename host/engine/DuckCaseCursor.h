#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/engine/CaseEngine.h"
#include "host/engine/DuckDb.h"

class DuckCaseEngine;

// DuckCaseCursor drains one streaming query. A block is what is left of a chunk of DuckDB's after skipping;
// columns are converted when first asked for, or not at all where DuckDB's array can be handed out as it is.
//
// Ownership:  borrows its engine; owns connection, result and chunk.
// Failures:   DataError, also for a value that the dictionary has no room for: a text that is wider than its
//             variable, or a whole number that a double would change. A dictionary that came with the file
//             can be wrong.
class DuckCaseCursor : public CaseCursor {
public:
  struct Column {
    std::string name;
    int width;  // 0 for a number
  };

  // Starts the query; its first `skipped` rows aren't delivered.
  DuckCaseCursor(const DuckCaseEngine& engine, DuckConnection connection, const std::string& sql,
                 std::vector<Column> columns, std::int64_t skipped);

  std::size_t NextBlock() override;
  const double* Numbers(std::size_t place) override;
  const std::string_view* Texts(std::size_t place) override;

private:
  // Converted values of one column.
  struct Converted {
    bool isCurrent = false;  // they are those of the current block
    std::vector<double> numbers;
    std::vector<std::string_view> texts;
  };

  // Throws for a value at `row` of the block: "file, case N: what "column"".
  [[noreturn]] void Refuse(std::size_t place, std::size_t row, const std::string& what) const;
  const double* PlainNumbers(std::size_t place);
  template <class T>
  void ConvertNumbers(std::size_t place, double* out) const;

  const DuckCaseEngine& fEngine;
  DuckConnection fConnection;
  DuckResult fResult;
  DuckChunk fChunk;  // of the current block; texts point into it
  std::vector<Column> fvColumns;
  std::vector<Converted> fvConverted;
  std::int64_t fSkip;          // rows still to be skipped
  std::int64_t fFirstRow = 0;  // row of the file that the block begins with
  std::size_t fSkipped = 0;    // rows of the current chunk that were skipped
  std::size_t fRows = 0;       // of the block
};
