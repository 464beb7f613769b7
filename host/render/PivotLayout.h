#pragma once

#include <cstdint>
#include <vector>

#include "host/output/OutputTable.h"

// PivotLayout arranges the cells of a table in rows and columns, for the renderers. Only categories that a
// cell stands at have a row or column; they keep the order of their trees, so that the rows of a group are
// neighbours.
//
// Ownership:  borrows the table, which must outlive it.
class PivotLayout {
public:
  // The header of a row or column: its nodes from the outermost group of the outermost dimension inward.
  // Empty where the table has no dimension of that place.
  using Header = std::vector<int>;

  struct Entry {
    std::uint32_t row = 0;
    std::uint32_t column = 0;
    std::uint32_t cell = 0;  // index into the table's cells
  };

  explicit PivotLayout(const OutputTable& table);

  const std::vector<Header>& Rows() const { return fvRows; }
  const std::vector<Header>& Columns() const { return fvColumns; }
  // By row, and within a row by column.
  const std::vector<Entry>& Entries() const { return fvEntries; }

private:
  std::vector<Header> fvRows;
  std::vector<Header> fvColumns;
  std::vector<Entry> fvEntries;
};
