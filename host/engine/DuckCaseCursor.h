#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/engine/CaseEngine.h"
#include "host/engine/DuckDb.h"

class DuckCaseEngine;

// DuckCaseCursor drains one streaming query and turns the columns that are asked for into cell values, a
// block at a time. Borrows its engine.
class DuckCaseCursor : public CaseCursor {
public:
  struct Column {
    std::string name;
    int width;  // 0 for a number
  };

  // The first `skipped` rows aren't delivered.
  DuckCaseCursor(const DuckCaseEngine& engine, const std::string& sql, std::vector<Column> columns,
                 std::int64_t skipped);

  std::size_t NextBlock() override;
  const double* Numbers(std::size_t place) override;
  const std::string_view* Texts(std::size_t place) override;

private:
  // The values of one column in the block.
  struct Converted {
    bool isCurrent = false;
    std::vector<double> numbers;
    std::vector<std::string_view> texts;
  };

  [[noreturn]] void Refuse(std::size_t place, std::size_t row, const std::string& what) const;
  const double* PlainNumbers(std::size_t place);
  template <class T>
  void ConvertNumbers(std::size_t place, double* out) const;

  const DuckCaseEngine& fEngine;
  DuckConnection fConnection;
  DuckResult fResult;
  DuckChunk fChunk;
  std::vector<Column> fvColumns;
  std::vector<Converted> fvConverted;
  std::int64_t fSkip;          // rows still to be passed over
  std::int64_t fFirstRow = 0;  // row of the file that the block begins with
  std::size_t fSkipped = 0;    // rows of the chunk that were passed over
  std::size_t fRows = 0;       // of the block
};
