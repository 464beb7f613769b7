#include "host/output/BpCategory.h"

#include <utility>

#include "host/output/OutputTable.h"

BpCategory::BpCategory(std::shared_ptr<OutputTable> table, int node)
    : fpTable(std::move(table)), fNode(node) {}

void BpCategory::Cell(const BpCellText& text) const {
  fpTable->SetCell(fNode, text);
}
