#include "host/output/BpError.h"

#include "host/output/OutputDocument.h"

void BpError(const BpCellText& text, int, BpErrorLevel level) {
  OutputDocument::Current().AddMessage(level, text.Text(), std::string());
}
