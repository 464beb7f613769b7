#include "model_components/surveyplans/common/SVStatus.h"

namespace {
// Every code that doesn't appear here keeps its stage in ints[1].
std::size_t StageSlotIndex(std::int32_t code) {
  switch (code) {
    case kStatusRecordTooShort:
    case kStatusInvalidValue:
    case kStatusMissingSpec:
    case kStatusPopulationTooSmall:
      return 0;
    default:
      return 1;
  }
}
}  // namespace

std::int32_t& SVStatus::StageSlot() {
  return ints[StageSlotIndex(code)];
}
std::int32_t SVStatus::StageSlot() const {
  return ints[StageSlotIndex(code)];
}
