#pragma once

#include <cstdint>
#include <vector>

#include "host/output/OutputTable.h"

// PivotLayout turns the cells of a table into rows and columns. All renderers that draw a grid start from it.
//
// A table can have any number of dimensions, and each is on the row side or the column side. A row of the
// grid is one combination of categories, one from each row dimension; a column likewise. With region and sex
// as row dimensions (region outermost) and one column dimension:
//
//                            Requested   Drawn          header of the first row: {North, Women}
//      North    Women               12      12          header of the second:    {North, Men}
//               Men                 10       9          header of the last:      {South, Women}
//      South    Women                8       8
//
// Only combinations that some cell has become rows or columns: the full product of the dimensions would
// mostly be empty, and for several large dimensions far too big. Above, {South, Men} has no cell and so no
// row.
//
// A header is the path to a row: from the outermost group of the outermost dimension to the innermost
// category of the innermost dimension, groups of a dimension before its categories. Headers of one side can
// differ in length, because a dimension's tree needn't have the same depth everywhere, and a cell may lack a
// category. Rows and columns are sorted by comparing headers node by node. As nodes are numbered in the
// order of their creation, that is the order in which the procedure made the categories, and rows that share
// a group are neighbours. The renderers depend on the latter: they find a group's extent by comparing
// adjacent headers.
//
// Ownership:  the table is only used by the constructor, but headers and entries refer to its nodes and
//             cells.
// Cost:       O(c log c) time and O(c) memory for c cells.
class PivotLayout {
public:
  // Nodes of the table, outermost first. Empty if the table has no dimension on that side, and in a row or
  // column of cells without any category there.
  using Header = std::vector<int>;

  // A cell in the grid.
  struct Entry {
    std::uint32_t row = 0;
    std::uint32_t column = 0;
    std::uint32_t cell = 0;  // index into the table's cells
  };

  explicit PivotLayout(const OutputTable& table);

  const std::vector<Header>& Rows() const { return fvRows; }
  const std::vector<Header>& Columns() const { return fvColumns; }
  // Sorted by row, then by column; at most one per position. Positions without an entry are empty.
  const std::vector<Entry>& Entries() const { return fvEntries; }

private:
  std::vector<Header> fvRows;
  std::vector<Header> fvColumns;
  std::vector<Entry> fvEntries;
};
