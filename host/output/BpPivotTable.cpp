#include "host/output/BpPivotTable.h"

#include "host/output/OutputDocument.h"
#include "host/output/OutputTable.h"

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
