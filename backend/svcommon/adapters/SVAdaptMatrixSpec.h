#pragma once

#include <vector>

#include "backend/svcommon/adapters/SVCaseValue.h"
#include "backend/svcommon/adapters/SVPlanValidSpecs.h"

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
