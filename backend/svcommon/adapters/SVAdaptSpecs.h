#pragma once

#include <cstdint>
#include <vector>

#include "backend/svcommon/adapters/CaseValueReader.h"
#include "backend/svcommon/adapters/SVPlanValidSpecs.h"

// SVAdaptContVar reads one continuous variable, with the checks that its role asks for.
class SVAdaptContVar {
public:
  // `isSize`: the variable gives a sample size, `isRate`: a sampling rate; with neither, as for a weight or a
  // measure of size, any value passes.
  SVAdaptContVar(KORV_InputCaseIterator* iterator, std::int32_t variable, bool includeUserMissing,
                 bool isSize, bool isRate);
  virtual ~SVAdaptContVar();

  // The current case's value, the missing value when it has none. A size within the host's tolerance of a
  // whole number is rounded to it. `*invalid`: a size that isn't whole and positive, or a rate outside (0,
  // 1]; the result is the value all the same. `*missing`: a size or rate without a value.
  virtual double Get(bool* invalid, bool* missing) const;

  // Reads from another iterator from now on.
  void Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing);

private:
  std::int32_t fVarIndex;
  SVCaseValue fCaseValue;  // of the current iterator
  bool fbIsSize;
  bool fbIsRate;
};

// SVAdaptMatrixSpec answers what a stage's table holds for the values of the current case.
//
// Ownership:  borrows the table and the iterator.
class SVAdaptMatrixSpec {
public:
  // REQUIRES: the table has a map, with a key of as many variables as the table.
  SVAdaptMatrixSpec(KORV_InputCaseIterator* iterator, const SVMatrixSpec* matrixSpec,
                    bool includeUserMissing);

  // The table's number. When the table has none for the case, which is also so when one of its values is
  // missing, `*notFound` is true and the result the missing value.
  double Get(bool* notFound);

  // Reads from another iterator from now on.
  void Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing);

private:
  const SVMatrixSpec* fpMatrixSpec;
  std::vector<SVCaseValue> fvCaseValues;  // of the current iterator, in the order of the table's variables
  std::vector<OBS> fKeyBuffer;            // room for one key, filled for each case
};
