#include "host/output/BpCellText.h"

void BpCellText::AddValue(const std::string& bytes) {
  fValueKey += std::to_string(bytes.size());
  fValueKey += ':';
  fValueKey += bytes;
}
