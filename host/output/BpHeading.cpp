#include "host/output/BpHeading.h"

#include "host/output/OutputDocument.h"

BpHeading::~BpHeading() = default;

BpPivotTable BpHeading::PivotTable(const BpCellText& title, const BpCellText& kind, bool) {
  return BpPivotTable(&OutputDocument::Current(), title, kind);
}
