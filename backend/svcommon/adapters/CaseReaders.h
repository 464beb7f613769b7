#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "backend/svcommon/adapters/ShortTextCodes.h"
#include "host/engine/ProcDSIterator.h"
#include "host/model/CaseValue.h"
#include "host/model/ObsVecMap.h"
#include "host/numeric/Obs.h"

struct SVMatrixSpec;

// From the current case of the host to the doubles of a record: one reader for each kind of slot.
//
//   CaseValueReader     a category code, for strata and cluster variables
//   SVAdaptContVar      a number, for rates, sizes, weights and measures of size
//   SVAdaptMatrixSpec   the number that a stage's table has for the case
//
// Each is bound to one or more columns of a case iterator and reads the case on which the iterator is now, or
// all cases of its block. A further pass over the data has a new iterator, to which Rebind() moves the reader.
//
// Ownership:  all borrow the iterator, which must outlive the pass.
// Threads:    the thread of the run only.
// Cost:       reading allocates nothing, except for a value that CaseValueReader::Encode() sees first.

// SVCaseValue is one variable's value in the current case, with a rule for what counts as missing.
class SVCaseValue : public CaseValue {
public:
  SVCaseValue(KORV_InputCaseIterator* iterator, int column, bool includeUserMissing)
      : CaseValue(iterator, column), fbIncludeUserMissing(includeUserMissing) {}

  // Whether the current case has a value. If user-missing values are included, only a system-missing number
  // counts as missing; every string is a value, even a blank one.
  bool IsPresent() const;
  // The same for a value of a block.
  bool IsPresent(double number) const {
    return fbIncludeUserMissing ? number != MCMV::gMissingValue : !IsMissingNumber(number);
  }
  bool IsPresent(std::string_view text) const { return fbIncludeUserMissing || !IsMissingText(text); }

  const OBS* Cells() const { return fpObs; }

private:
  bool fbIncludeUserMissing;
};

// CaseValueReader numbers the values of one categorical variable: 1, 2, 3, ... in the order in which they
// first appear. The computation works with these codes alone; a value keeps its code for the whole run.
//
// The order of appearance matters beyond this class: codes make the keys, keys make the order of the strata,
// and that order decides the sample.
//
// Ownership:  owns a copy of each value that has a code.
class CaseValueReader {
public:
  CaseValueReader(KORV_InputCaseIterator* iterator, std::int32_t variable, bool includeUserMissing);

  // The code of the current case's value; 0 if it is missing. For a value without a code, Encode() assigns
  // the next one and Lookup() returns 0.
  std::int32_t Encode();
  std::int32_t Lookup() const;

  // The same for the column of a block, row by row.
  void ReadBlock(const CaseColumn& column, bool assigns, std::span<std::int32_t> codes);

  // The value of a code, valid as long as the reader; null for a code that was never assigned.
  const OBS* ObsOfCode(std::int32_t code) const;

  // The code of the value in `obs`. If it has none, it gets the next one.
  std::int32_t CodeOfObs(const OBS* obs);

  std::size_t CategoryCount() const { return fValueMap.Size(); }

  std::int32_t Variable() const { return fVarIndex; }  // in the dictionary

  // Reads from another iterator from now on; the codes stay.
  void Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing);

private:
  std::int32_t CodeOf(const OBS* obs) const;
  std::int32_t CodeOfNumber(double number, bool assigns);
  std::int32_t CodeOfText(std::string_view text, bool assigns);
  std::int32_t Add(const OBS* obs);
  std::size_t WholeOf(const OBS* obs) const;

  std::int32_t fVarIndex;
  ObsVecMap fValueMap;                   // value to code
  std::size_t fKeyCells;                 // cells of one value
  SVCaseValue fCaseValue;                // of the current iterator
  std::vector<const OBS*> fvEncodedObs;  // the value of code c is at c - 1; points into fValueMap
  // A shortcut for small whole numbers, which nearly all identifiers are: the code by the number, 0 for none.
  // In a file in random order this compact table stays in the processor's caches where the map's entries
  // don't. Every such number that has a code is within its size.
  std::vector<std::int32_t> fvWholeCodes;
  ShortTextCodes fShortTexts;    // the same for texts; those that a block has had, no others
  std::vector<OBS> fvTextCells;  // scratch: one text
};

// SVAdaptContVar reads one continuous variable and checks it according to its role.
class SVAdaptContVar {
public:
  // `isSize`: the variable holds a sample size; `isRate`: a sampling rate. Any other role, such as a weight
  // or a measure of size, accepts every value here; those are checked later.
  SVAdaptContVar(KORV_InputCaseIterator* iterator, std::int32_t variable, bool includeUserMissing,
                 bool isSize, bool isRate);
  virtual ~SVAdaptContVar();

  // The current case's value, or the missing value. A size within the host's tolerance of a whole number is
  // rounded to it. `*invalid` reports a size that isn't whole and positive, or a rate outside (0, 1]; the
  // value is returned nevertheless. `*missing` reports a size or rate without a value.
  virtual double Get(bool* invalid, bool* missing) const;

  // The same for some rows of a block's column. False if one isn't allowed; the values are then undefined.
  bool ReadBlock(const CaseColumn& column, std::span<const std::uint32_t> rows, double* values) const;

  void Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing);

private:
  double Judge(double value, bool* invalid) const;

  std::int32_t fVarIndex;
  SVCaseValue fCaseValue;  // of the current iterator
  bool fbIsSize;
  bool fbIsRate;
};

// SVAdaptMatrixSpec looks up what a stage's table holds for the values of the current case.
//
// Ownership:  borrows the table.
class SVAdaptMatrixSpec {
public:
  // REQUIRES: the table has a map whose key has the table's variables, in their order.
  SVAdaptMatrixSpec(KORV_InputCaseIterator* iterator, const SVMatrixSpec* matrixSpec,
                    bool includeUserMissing);

  // The table's number for the case. If it has none, or if one of the case's values is missing, `*notFound`
  // is set and the result is the missing value. Marks the row as used.
  double Get(bool* notFound);

  // The same for some rows of a block. False if the table lacks the number of one.
  bool ReadBlock(const ProcDSIterator& cases, std::span<const std::uint32_t> rows, double* values);

  void Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing);

private:
  double NumberOfKey(bool* notFound);

  const SVMatrixSpec* fpMatrixSpec;
  std::vector<SVCaseValue> fvCaseValues;  // of the current iterator, in the order of the table's variables
  std::vector<OBS> fKeyBuffer;            // scratch: one key
};
