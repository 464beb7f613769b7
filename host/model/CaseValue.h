#pragma once

#include <string>
#include <vector>

#include "host/numeric/Obs.h"

class KORV_InputCaseIterator;

// CaseValue is the cell of one column in an iterator's current case. It stays bound to the iterator, which
// outlives it, and always shows the current case.
class CaseValue {
public:
  CaseValue(KORV_InputCaseIterator* iterator, int column);

  const OBS* fpObs;  // the OBS cells; borrowed from the iterator
  int fWidth;        // bytes of a string, 0 for a number

  // The value is system-missing, a user-missing value, or a string of nothing but blanks.
  bool IsMissing() const {
    if (!fbUserMissing) {
      if (fWidth == 0) return fpObs->number == MCMV::gMissingValue;
      if (fpObs->text[0] != ' ') return false;
    }
    return SearchMissing();
  }

private:
  bool SearchMissing() const;

  bool fbUserMissing;  // the variable has user-missing values
  // User-missing values of the variable: numbers, or texts without trailing blanks.
  std::vector<double> fvMissingNumbers;
  std::vector<std::string> fvMissingTexts;
};
