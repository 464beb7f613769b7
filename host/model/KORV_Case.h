#pragma once

#include <cstddef>
#include <vector>

#include "host/numeric/Obs.h"

class KORV_DataSource;

// KORV_Case is one case on its way to a file: it lays columns out in a buffer and writes values into them.
//
// Ownership:  borrows the buffer, of source.CaseCellCount() cells, which must outlive it. The layout is
//             copied from the source's dictionary, so that may only change before the case is constructed.
// Initially:  every number is system-missing and every string blank.
class KORV_Case {
public:
  KORV_Case(const KORV_DataSource& source, OBS* buffer);

  // First cell of a column. No check: REQUIRES 0 <= column < source.ColumnCount(), as everywhere here.
  OBS* GetObsPointer(int column) { return fpBuffer + fvColumns[static_cast<std::size_t>(column)].offset; }
  const OBS* GetObsPointer(int column) const {
    return fpBuffer + fvColumns[static_cast<std::size_t>(column)].offset;
  }

  // On a string column this stores blanks, whatever the value: a caller that sets all columns to missing
  // needs no case distinction, and blank is a string's missing value.
  void SetColumnValue(int column, double value);
  // `width` bytes of `text`, cut or blank-padded to the column's own width. REQUIRES: a string column.
  void SetColumnValue(int column, const char* text, int width);

private:
  struct Column {
    std::size_t offset;  // in cells
    int width;           // 0 for a number
  };

  OBS* fpBuffer;  // borrowed
  std::vector<Column> fvColumns;
};
