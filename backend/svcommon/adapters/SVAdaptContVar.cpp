#include "backend/svcommon/adapters/SVAdaptContVar.h"

#include "host/numeric/Fuzzy.h"
#include "host/numeric/MissingValue.h"

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
