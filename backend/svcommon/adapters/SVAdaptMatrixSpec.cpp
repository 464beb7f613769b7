#include "backend/svcommon/adapters/SVAdaptMatrixSpec.h"

#include <algorithm>
#include <cassert>

#include "host/numeric/MissingValue.h"

SVAdaptMatrixSpec::SVAdaptMatrixSpec(KORV_InputCaseIterator* iterator, const SVMatrixSpec* matrixSpec,
                                     bool includeUserMissing)
    : fpMatrixSpec(matrixSpec) {
  assert(matrixSpec != nullptr);
  assert(matrixSpec->map->GetKeySpec().size() == matrixSpec->variables->size());
  std::size_t cells = 0;
  for (const std::int32_t width : matrixSpec->map->GetKeySpec()) cells += ObsCells(width);
  fKeyBuffer.resize(cells);
  Rebind(iterator, includeUserMissing);
}

double SVAdaptMatrixSpec::Get(bool* notFound) {
  *notFound = true;
  for (const SVCaseValue& value : fvCaseValues) {
    if (!value.IsPresent()) return MCMV::gMissingValue;
  }
  auto place = fKeyBuffer.begin();
  for (const SVCaseValue& value : fvCaseValues) {
    place = std::copy_n(value.Cells(), ObsCells(value.fWidth), place);
  }
  const OBS* found = fpMatrixSpec->map->Contains(fKeyBuffer.data());
  if (found == nullptr) return MCMV::gMissingValue;
  *notFound = false;
  return found->number;
}

void SVAdaptMatrixSpec::Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing) {
  fvCaseValues.clear();
  for (const std::int32_t variable : *fpMatrixSpec->variables) {
    fvCaseValues.emplace_back(iterator, variable, includeUserMissing);
  }
}
