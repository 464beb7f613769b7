#pragma once

#include <cstdint>
#include <vector>

#include "host/model/CaseValue.h"
#include "host/model/ObsVecMap.h"

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

// CaseValueReader turns the values of one categorical variable into category codes: 1, 2, 3, ... in the order
// in which the values first appear. A code stays with its value for the whole run.
//
// Ownership:  owns the values that have codes; borrows the iterator.
class CaseValueReader {
public:
  CaseValueReader(KORV_InputCaseIterator* iterator, std::int32_t variable, bool includeUserMissing);

  // The code of the current case's value, 0 when the case has none. Encode() gives a new value the next code,
  // Lookup() gives 0 for it.
  std::int32_t Encode();
  std::int32_t Lookup() const;

  // The value of a code, valid while the reader lives; null for a code that was never given.
  const OBS* ObsOfCode(std::int32_t code) const;

  // The code of the value in `obs`. `*wasNew` tells that the value had no code before; it then gets one if
  // `addIfNew`, else the result is 0.
  std::int32_t CodeOfObs(const OBS* obs, bool* wasNew, bool addIfNew);

  std::size_t CategoryCount() const { return fValueMap.Size(); }

  // Reads from another iterator from now on; the codes stay.
  void Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing);

private:
  std::int32_t CodeOf(const OBS* obs) const;
  std::int32_t Add(const OBS* obs);
  std::size_t WholeOf(const OBS* obs) const;

  std::int32_t fVarIndex;
  ObsVecMap fValueMap;                   // value to code
  std::size_t fKeyCells;                 // of one value
  SVCaseValue fCaseValue;                // of the current iterator
  std::vector<const OBS*> fvEncodedObs;  // the value of code c stands at c - 1; into fValueMap
  // The codes of small whole numbers by number, 0 for none: nearly all identifiers are such, and in a file in
  // random order this compact table is in the processor's caches where the map's entries aren't. It reaches
  // at least as far as the largest of them that has a code.
  std::vector<std::int32_t> fvWholeCodes;
};
