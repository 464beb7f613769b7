#pragma once

#include "host/data/CaseValue.h"

// SVCaseValue is one variable's cell in the current case, with the procedure's rule for what counts as
// present.
class SVCaseValue : public CaseValue {
public:
  // `iterator` outlives it.
  SVCaseValue(KORV_InputCaseIterator* iterator, int column, bool includeUserMissing)
      : CaseValue(iterator, column), fbIncludeUserMissing(includeUserMissing) {}

  // Whether the current case has a value. With user-missing values included every string is one, also blanks,
  // and every number but the system-missing.
  bool IsPresent() const;

  const OBS* Cells() const { return fpObs; }

private:
  bool fbIncludeUserMissing;
};
