#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "host/numeric/Obs.h"

class KORV_InputCaseIterator;

// CaseValue is the value of one column in an iterator's current case.
//
// Use:        construct once per pass, before its first case; then read it again after every NextCase().
// Ownership:  fpObs belongs to the iterator, which must outlive this object.
// Cost:       IsMissing() is inline for variables without user-missing values, the usual ones: it runs once
//             per case and variable. The others search their list of missing values.
class CaseValue {
public:
  CaseValue(KORV_InputCaseIterator* iterator, int column);

  const OBS* fpObs;  // the cells of the current case
  int fWidth;        // bytes of a string, 0 for a number

  // True for the system-missing number, a user-missing value, and a blank string.
  bool IsMissing() const {
    if (!fbUserMissing) {
      if (fWidth == 0) return fpObs->number == MCMV::gMissingValue;
      if (fpObs->text[0] != ' ') return false;  // can't be blank, and no need to look further
    }
    return SearchMissing();
  }

  // The same for a value that needn't be the current case's; a text without trailing blanks.
  bool IsMissingNumber(double number) const {
    return number == MCMV::gMissingValue ||
           std::find(fvMissingNumbers.begin(), fvMissingNumbers.end(), number) != fvMissingNumbers.end();
  }
  bool IsMissingText(std::string_view text) const {
    return text.empty() ||
           std::find(fvMissingTexts.begin(), fvMissingTexts.end(), text) != fvMissingTexts.end();
  }

private:
  bool SearchMissing() const;

  bool fbUserMissing;  // the variable has user-missing values
  // Those values. Only the list that fits the type is used; texts have no trailing blanks.
  std::vector<double> fvMissingNumbers;
  std::vector<std::string> fvMissingTexts;
};
