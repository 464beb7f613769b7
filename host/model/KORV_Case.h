#pragma once

#include <cstddef>
#include <vector>

#include "host/numeric/Obs.h"

class KORV_DataSource;

// KORV_Case is one output case over a buffer of CaseCellCount() cells that the caller owns. At first its
// numbers are system-missing and its strings blank.
class KORV_Case {
public:
  KORV_Case(const KORV_DataSource& source, OBS* buffer);

  // Where the cells of a column begin.
  OBS* GetObsPointer(int column) { return fpBuffer + fvColumns[static_cast<std::size_t>(column)].offset; }
  const OBS* GetObsPointer(int column) const {
    return fpBuffer + fvColumns[static_cast<std::size_t>(column)].offset;
  }

  // A number makes a string column blank: it has no missing value of its own.
  void SetColumnValue(int column, double value);
  // A text of so many bytes. What is beyond the column's width is cut. REQUIRES: a string column.
  void SetColumnValue(int column, const char* text, int width);

private:
  struct Column {
    std::size_t offset;  // in cells
    int width;           // 0 for a number
  };

  OBS* fpBuffer;  // borrowed
  std::vector<Column> fvColumns;
};
