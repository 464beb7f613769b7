#pragma once

#include <memory>
#include <utility>

#include "host/output/BpText.h"

// How a procedure builds a pivot table.
//
// A table has dimensions, each a tree of groups with categories as leaves, and a cell wherever one category
// of every dimension meets. Cells aren't addressed by all their categories at once. Each dimension has a
// current category, the one that was made or asked for last, and Cell() is called on a category of one
// dimension and uses the current categories of all the others:
//
//   BpPivotTable table = heading.PivotTable(title, kind, true);
//   BpDimension rows = table.Dimension(BpString("Cases", true), sort);
//   rows.Position(kPlaceRow, 1, false, false);
//   BpDimension columns = table.Dimension(BpString("Count", true), sort);
//   columns.Position(kPlaceColumn, 1, false, false);
//   columns.Category(unweighted);                                   // current column
//   rows.Category(valid).Cell(BpNumber(n, BpProcedure::Count()));   // the cell valid x unweighted
//
// All dimensions must exist before the first cell. Asking twice for the same text (and value key) below the
// same group gives the same node. Boolean and sort arguments that are described as unused belong to the
// interface.

class OutputDocument;
class OutputTable;

// The side of the table that a dimension is on.
inline constexpr int kPlaceRow = 0;
inline constexpr int kPlaceColumn = 1;

// A note below a table. The number says which cell the note's mark belongs to; it is always -1, the whole
// table, and isn't used.
class BpAnnotation {
public:
  BpAnnotation(BpCellTextHandle text, int) : fpText(std::move(text)) {}

  const std::string& Text() const { return fpText->Text(); }

private:
  BpCellTextHandle fpText;  // never null
};

// A leaf of a dimension. A handle: copies refer to the same category, and keep the table's data alive.
class BpCategory {
public:
  BpCategory(std::shared_ptr<OutputTable> table, int node);

  // Sets the cell of this category and the current category of each other dimension. A second call for the
  // same cell replaces its text.
  void Cell(const BpCellText& text) const;

private:
  std::shared_ptr<OutputTable> fpTable;
  int fNode;
};

// An inner node of a dimension. A handle, like BpCategory.
class BpGroup {
public:
  BpGroup(std::shared_ptr<OutputTable> table, int node);

  // The child with this label, created as the last child if it doesn't exist yet. A group and a category with
  // the same label are different nodes. The flag is always true and unused; for `sort` see BpPivotTable.
  BpGroup Group(const BpCellText& text, bool, int sort) const;
  BpCategory Category(const BpCellText& text) const;

protected:
  OutputTable& Table() const { return *fpTable; }
  int Node() const { return fNode; }

private:
  std::shared_ptr<OutputTable> fpTable;
  int fNode;
};

// A dimension of a table. It is also the root group of its tree.
class BpDimension : public BpGroup {
public:
  using BpGroup::BpGroup;

  // Puts the dimension on a side of the table (kPlaceRow, kPlaceColumn). Of several dimensions on a side, the
  // one with the lowest index is innermost. `hideLabel` omits the dimension's own label. The last flag is
  // unused.
  void Position(int place, int index, bool hideLabel, bool) const;
};

// BpPivotTable is a table under construction. Its destructor adds the table to the document, so tables appear
// in the order in which these objects are destroyed. A table with neither cells nor notes is not added.
//
// Ownership:  borrows the document, which must outlive it. Dimensions, groups and categories share the
//             table's data with it. Using them after its destruction is harmless, but whether it has an
//             effect on the output is not defined.
class BpPivotTable {
public:
  BpPivotTable(OutputDocument* document, const BpCellText& title, const BpCellText& kind);
  ~BpPivotTable();
  BpPivotTable(BpPivotTable&& other) noexcept = default;
  BpPivotTable& operator=(BpPivotTable&&) = delete;

  void Caption(const BpCellText& text);
  void Note(const BpAnnotation& annotation);

  // Adds a dimension; on the row side until Position() says otherwise. `sort` is the procedure's code for the
  // order of the categories. It isn't used: categories stay in the order in which they were made, and the
  // procedure makes them in the order that it wants.
  BpDimension Dimension(const BpCellText& label, int sort);

private:
  OutputDocument* fpDocument;            // borrowed
  std::shared_ptr<OutputTable> fpTable;  // null once moved from
};
