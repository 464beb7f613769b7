#include "backend/svselect/run/StatusTexts.h"

#include "backend/svcommon/design/Enumerations.h"
#include "model_components/surveyplans/common/SVStatus.h"

namespace {

constexpr std::int32_t kAnyInclusionType = -1;

struct Row {
  std::int32_t code;
  std::int32_t inclusionType;
  bool showsStage;
  const char* stratified;
  const char* plain;
};

constexpr Row kRows[] = {
    {kStatusNoRecords, kAnyInclusionType, false, "There are no valid cases ...",
     "There are no valid cases ..."},
    {kStatusUnequalSpec, kRateVariable, true, "Unequal sample rate in stage ^1 stratum ...",
     "Unequal sample rate in stage ^1 ..."},
    {kStatusUnequalSpec, kSizeVariable, true, "Unequal sample size in stage ^1 stratum ...",
     "Unequal sample size in stage ^1 ..."},
    {kStatusMissingSpec, kRateVariable, true, "No sample rate in active in stage ^1 stratum ...",
     "No sample rate in active in stage ^1 ..."},
    {kStatusMissingSpec, kSizeVariable, true, "No sample size in active in stage ^1 stratum ...",
     "No sample size in active in stage ^1 ..."},
    {kStatusPopulationTooSmall, kAnyInclusionType, true, "Pop size too big in stage ^1 stratum ...",
     "Pop size too big in stage ^1 ..."},
    {kStatusSizeAboveUnits, kAnyInclusionType, true, "Pop size too big in stage ^1 stratum ...",
     "Pop size too big in stage ^1 ..."},
    {kStatusMissingSize, kAnyInclusionType, false, "All missing values for measure of size ...",
     "All missing values for measure of size ..."},
    {kStatusInvalidSize, kAnyInclusionType, false, "Invalid measure of size value ...",
     "Invalid measure of size value ..."},
    {kStatusUnequalSize, kAnyInclusionType, false, "Measure of size values unequal or missing ...",
     "Measure of size values unequal or missing ..."},
    {kStatusRateAboveOne, kAnyInclusionType, true, "Sampling rate exceeds 1 in stage ^1 stratum ...",
     "Sampling rate exceeds 1 in stage ^1 ..."},
    {kStatusNoMemory, kAnyInclusionType, false, "Insufficient memory for joint probabilities ...",
     "Insufficient memory for joint probabilities ..."},
};

}  // namespace

StatusText TextOfStatus(std::int32_t code, std::int32_t inclusionType, bool isStratified) {
  for (const Row& row : kRows) {
    if (row.code != code) continue;
    if (row.inclusionType != kAnyInclusionType && row.inclusionType != inclusionType) continue;
    return {isStratified ? row.stratified : row.plain, row.showsStage};
  }
  return {};
}
