#pragma once

#include "backend/svcommon/adapters/SVInputAdapter.h"
#include "backend/svselect/command/SVSValidSpecs.h"

// SVSInputAdapter is the record layer of a draw. A case is rejected when a strata or cluster variable or the
// previous weight has no value, when a rate or size is invalid, or when a table holds nothing for it; the
// last two are told by a message. A missing rate, size or measure of size leaves the record valid.
class SVSInputAdapter : public SVInputAdapter {
public:
  // REQUIRES: the specifications are validated. Binds the variables of the record to `iterator`.
  SVSInputAdapter(const SVSValidSpecs* validSpecs, ProcedureDataSource* dataSource, ProcDSIterator* iterator,
                  const SVMessages* messages);
  ~SVSInputAdapter() override;

  bool ReadContinuous(double* record) override;
  bool ReadMatrix(double* record) override;

private:
  const SVSValidSpecs* fpSelectSpecs;  // what fpValidSpecs points to, in its own type
};
