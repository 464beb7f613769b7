#include "backend/svcommon/adapters/SVAdaptSpecs.h"

#include <algorithm>
#include <cassert>

#include "host/numeric/Fuzzy.h"
#include "host/numeric/Obs.h"

SVAdaptContVar::SVAdaptContVar(KORV_InputCaseIterator* iterator, std::int32_t variable,
                               bool includeUserMissing, bool isSize, bool isRate)
    : fVarIndex(variable),
      fCaseValue(iterator, variable, includeUserMissing),
      fbIsSize(isSize),
      fbIsRate(isRate) {}

SVAdaptContVar::~SVAdaptContVar() = default;

double SVAdaptContVar::Get(bool* invalid, bool* missing) const {
  *invalid = false;
  *missing = false;
  if (!fCaseValue.IsPresent()) {
    *missing = fbIsSize || fbIsRate;
    return MCMV::gMissingValue;
  }
  double value = fCaseValue.Cells()->number;
  if (fbIsSize) {
    if (value > 0.0 && FUZZYINTEGER(&value) != 0) {
      value = FUZZYROUND(&value);
    } else {
      *invalid = true;
    }
  }
  if (fbIsRate && !(value > 0.0 && value <= 1.0)) *invalid = true;
  return value;
}

void SVAdaptContVar::Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing) {
  fCaseValue = SVCaseValue(iterator, fVarIndex, includeUserMissing);
}

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
