#include "host/model/KORV_Case.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "host/model/KORV_DataSource.h"
#include "host/numeric/Obs.h"

KORV_Case::KORV_Case(const KORV_DataSource& source, OBS* buffer) : fpBuffer(buffer) {
  const int count = static_cast<int>(source.ColumnCount());
  fvColumns.reserve(static_cast<std::size_t>(count));
  std::size_t offset = 0;
  for (int i = 0; i < count; ++i) {
    const int width = source.GetVariable(i).GetType();
    fvColumns.push_back({offset, width});
    offset += ObsCells(width);
    SetColumnValue(i, MCMV::gMissingValue);
  }
}

void KORV_Case::SetColumnValue(int column, double value) {
  const int width = fvColumns[static_cast<std::size_t>(column)].width;
  if (width == 0) {
    GetObsPointer(column)->number = value;
  } else {
    std::memset(GetObsPointer(column)->text, ' ', ObsCells(width) * sizeof(OBS));
  }
}

void KORV_Case::SetColumnValue(int column, const char* text, int width) {
  const int own = fvColumns[static_cast<std::size_t>(column)].width;
  assert(own > 0);
  const auto length = static_cast<std::size_t>(std::min(width, own));
  auto* bytes = reinterpret_cast<char*>(GetObsPointer(column));
  std::memcpy(bytes, text, length);
  std::memset(bytes + length, ' ', ObsCells(own) * sizeof(OBS) - length);
}
