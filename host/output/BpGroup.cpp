#include "host/output/BpGroup.h"

#include <utility>

#include "host/output/OutputTable.h"

BpGroup::BpGroup(std::shared_ptr<OutputTable> table, int node) : fpTable(std::move(table)), fNode(node) {}

BpGroup BpGroup::Group(const BpCellText& text, bool, int) const {
  return {fpTable, fpTable->Group(fNode, text)};
}

BpCategory BpGroup::Category(const BpCellText& text) const {
  return {fpTable, fpTable->Category(fNode, text)};
}
