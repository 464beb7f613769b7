#include "backend/svselect/selection/SVSClusterData.h"

#include <cmath>

#include "host/numeric/MCMathFun.h"

using MCMV::gMissingValue;

bool SVSClusterData::LoadSize(const double* record, const std::vector<std::int32_t>& variables) {
  if (variables.empty()) return true;
  fSampleUnitSize = record[variables[0]];
  return fSampleUnitSize != gMissingValue;
}

int SVSClusterData::CheckSize(const double* record, const std::vector<std::int32_t>& variables) {
  constexpr int kDisagrees = 0;  // the position of the variable
  constexpr int kAgrees = -1;
  if (variables.empty()) return kAgrees;
  const double value = record[variables[0]];
  if (fSampleUnitSize == gMissingValue) {
    fSampleUnitSize = value;
    return value == gMissingValue ? kAgrees : kDisagrees;
  }
  if (value == gMissingValue) return kDisagrees;
  // Relative to the size itself: a negative one has a negative tolerance, which nothing meets.
  const double tolerance = 2.0 * fSampleUnitSize * MCCommonMath::MCPower::gMachineEpsilon;
  return std::fabs(fSampleUnitSize - value) > tolerance ? kDisagrees : kAgrees;
}
