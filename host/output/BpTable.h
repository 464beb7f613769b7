#pragma once

#include <memory>
#include <utility>

#include "host/output/BpText.h"

// A note of a table. The number is a place for its mark; -1, the only one in use, means the table as a whole.
class BpAnnotation {
public:
  BpAnnotation(BpCellTextHandle text, int) : fpText(std::move(text)) {}

  const std::string& Text() const { return fpText->Text(); }

private:
  BpCellTextHandle fpText;  // never null
};

class OutputTable;

// A category of a dimension. A handle, copied freely.
class BpCategory {
public:
  BpCategory(std::shared_ptr<OutputTable> table, int node);

  // Sets the cell where this category meets the category last made, or asked for again, in each other
  // dimension.
  void Cell(const BpCellText& text) const;

private:
  std::shared_ptr<OutputTable> fpTable;
  int fNode;
};

// A node of a dimension that has nodes below it. A handle, copied freely.
class BpGroup {
public:
  BpGroup(std::shared_ptr<OutputTable> table, int node);

  // The group, or the category, of that text below this node: the one made before, or a new one at the end.
  // The flag is always true; for the sort code see BpPivotTable::Dimension().
  BpGroup Group(const BpCellText& text, bool, int sort) const;
  BpCategory Category(const BpCellText& text) const;

protected:
  OutputTable& Table() const { return *fpTable; }
  int Node() const { return fNode; }

private:
  std::shared_ptr<OutputTable> fpTable;
  int fNode;
};

// Values of the place of a dimension.
inline constexpr int kPlaceRow = 0;
inline constexpr int kPlaceColumn = 1;

// A dimension of a table, and the group of its outermost categories.
class BpDimension : public BpGroup {
public:
  using BpGroup::BpGroup;

  // Dimensions of one place nest by `index`, the lowest innermost. With `hideLabel` a printed table doesn't
  // show the dimension's own label.
  void Position(int place, int index, bool hideLabel, bool) const;
};

class OutputDocument;

// BpPivotTable is a table under construction. It appears in the output when it is dropped.
//
// Ownership:  borrows the document, which must outlive it. Dimensions, groups and categories are handles that
//             share the table's data; what is set through them after the drop is lost or shown, but never
//             harms.
class BpPivotTable {
public:
  BpPivotTable(OutputDocument* document, const BpCellText& title, const BpCellText& kind);
  ~BpPivotTable();
  BpPivotTable(BpPivotTable&& other) noexcept = default;
  BpPivotTable& operator=(BpPivotTable&&) = delete;

  void Caption(const BpCellText& text);
  void Note(const BpAnnotation& annotation);

  // The sort code is the procedure's wish how categories are to be ordered. It adds them in the order in
  // which they are to stand, so every dimension keeps that.
  BpDimension Dimension(const BpCellText& label, int sort);

private:
  OutputDocument* fpDocument;            // borrowed
  std::shared_ptr<OutputTable> fpTable;  // null once moved from
};
