#pragma once

#include <memory>

#include "host/output/BpCategory.h"
#include "host/output/BpCellText.h"

class OutputTable;

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
