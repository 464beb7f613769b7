#include "backend/svcommon/adapters/SVCaseValue.h"

#include "host/numeric/MissingValue.h"

bool SVCaseValue::IsPresent() const {
  if (!fbIncludeUserMissing) return !IsMissing();
  return fWidth != 0 || fpObs->number != MCMV::gMissingValue;
}
