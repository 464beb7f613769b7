#pragma once

#include "host/data/KORV_InputCaseIterator.h"

class KORV_Variable;

// CaseValue is the cell of one column in an iterator's current case. It stays bound to the iterator, which
// outlives it, and always shows the current case.
class CaseValue {
public:
  CaseValue(KORV_InputCaseIterator* iterator, int column);

  const OBS* fpObs;  // the OBS cells; borrowed from the iterator
  int fWidth;        // bytes of a string, 0 for a number

  // The value is system-missing, a user-missing value, or a string of nothing but blanks.
  bool IsMissing() const;

private:
  bool IsUserMissing() const;

  const KORV_InputCaseIterator* fpIterator;
  int fColumn;
};
