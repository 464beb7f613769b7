#include "host/output/BpTable.h"

#include <utility>

#include "host/output/OutputDocument.h"
#include "host/output/OutputTable.h"

BpCategory::BpCategory(std::shared_ptr<OutputTable> table, int node)
    : fpTable(std::move(table)), fNode(node) {}

void BpCategory::Cell(const BpCellText& text) const {
  fpTable->SetCell(fNode, text);
}

BpGroup::BpGroup(std::shared_ptr<OutputTable> table, int node) : fpTable(std::move(table)), fNode(node) {}

BpGroup BpGroup::Group(const BpCellText& text, bool, int) const {
  return {fpTable, fpTable->Group(fNode, text)};
}

BpCategory BpGroup::Category(const BpCellText& text) const {
  return {fpTable, fpTable->Category(fNode, text)};
}

void BpDimension::Position(int place, int index, bool hideLabel, bool) const {
  Table().Place(Node(), place, index, hideLabel);
}

BpPivotTable::BpPivotTable(OutputDocument* document, const BpCellText& title, const BpCellText& kind)
    : fpDocument(document), fpTable(std::make_shared<OutputTable>(title.Text(), kind.Text())) {}

BpPivotTable::~BpPivotTable() {
  if (fpTable) fpDocument->AddTable(std::move(fpTable));
}

void BpPivotTable::Caption(const BpCellText& text) {
  fpTable->SetCaption(text.Text());
}

void BpPivotTable::Note(const BpAnnotation& annotation) {
  fpTable->AddNote(annotation.Text());
}

BpDimension BpPivotTable::Dimension(const BpCellText& label, int) {
  return {fpTable, fpTable->AddDimension(label.Text())};
}
