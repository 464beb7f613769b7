#pragma once

#include <memory>

#include "host/output/BpCellText.h"

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
