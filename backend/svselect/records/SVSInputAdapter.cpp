#include "backend/svselect/records/SVSInputAdapter.h"

#include "backend/svcommon/adapters/SVMessages.h"
#include "host/engine/ProcDSIterator.h"
#include "host/numeric/Obs.h"

SVSInputAdapter::SVSInputAdapter(const SVSValidSpecs* validSpecs, ProcedureDataSource* dataSource,
                                 ProcDSIterator* iterator, const SVMessages* messages)
    : SVInputAdapter(validSpecs, dataSource, iterator, messages, !validSpecs->ClassMissingExclude()),
      fpSelectSpecs(validSpecs) {}

SVSInputAdapter::~SVSInputAdapter() = default;

// All variables are read even if the previous weight is missing: a later one may be worth a message. The
// first that isn't allowed ends the case, so that a case has at most one message.
bool SVSInputAdapter::ReadContinuous(double* record) {
  bool ok = true;
  // The readers are in the order of the map, so the two advance together.
  auto contVar = fvContVars.begin();
  for (const auto& [variable, slot] : fpSelectSpecs->ContRecordIndex()) {
    bool invalid = false;
    bool missing = false;  // set for a rate or size, and ignored on purpose: the stratum deals with it
    record[slot] = (*contVar)->Get(&invalid, &missing);
    if (record[slot] == MCMV::gMissingValue && variable == fpSelectSpecs->PreviousWeightVar()) {
      ok = false;
      CountLackOf(variable);
    }
    if (invalid) {
      if (fpSelectSpecs->IsSizeSlot(slot)) {
        fpMessages->InvalidSize(variable);
      } else if (fpSelectSpecs->IsRateSlot(slot)) {
        fpMessages->InvalidRate(variable);
      }
      return false;
    }
    ++contVar;
  }
  return ok;
}

// A table's own number can't be missing; if it were, the case would be rejected without a message.
bool SVSInputAdapter::ReadMatrix(double* record) {
  bool ok = true;
  std::int32_t index = 0;  // counts tables; `position` is that of the stage, which may have none
  for (const auto& [position, slot] : fpSelectSpecs->MatrixRecordIndex()) {
    bool notFound = false;
    record[slot] = fvMatrixSpecs[static_cast<std::size_t>(index)]->Get(&notFound);
    if (record[slot] == MCMV::gMissingValue) ok = false;
    if (notFound) {
      const std::int32_t stage = fpSelectSpecs->MatrixStageNumber(index);
      const std::vector<std::int32_t>& variables = *fpSelectSpecs->MatrixSpec(position)->variables;
      if (fpSelectSpecs->IsSizeSlot(slot)) {
        fpMessages->NoSize(stage, variables, fpIterator);
      } else if (fpSelectSpecs->IsRateSlot(slot)) {
        fpMessages->NoRate(stage, variables, fpIterator);
      }
      return false;
    }
    ++index;
  }
  return ok;
}
