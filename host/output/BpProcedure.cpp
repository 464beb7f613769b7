#include "host/output/BpProcedure.h"

#include "host/output/OutputDocument.h"

BpHeading::~BpHeading() = default;

BpPivotTable BpHeading::PivotTable(const BpCellText& title, const BpCellText& kind, bool) {
  return BpPivotTable(&OutputDocument::Current(), title, kind);
}

BpProcedure::BpProcedure(const std::string& title, int) {
  OutputDocument::Current().SetProcedure(title);
}

void BpError(const BpCellText& text, int, BpErrorLevel level) {
  OutputDocument::Current().AddMessage(level, text.Text(), std::string());
}

void BpRemark(const std::string& text) {
  OutputDocument::Current().AddRemark(text);
}

void BpCases(std::int64_t read, std::int64_t leftOut) {
  OutputDocument::Current().SetCases({read, leftOut});
}

void AddNotes(int group, const BpCellText& label, const BpCellText& text) {
  OutputDocument::Current().AddNote({group, label.Text(), text.Text()});
}
