#include "backend/svselect/selection/SVSJointMatrix.h"

#include <algorithm>
#include <cassert>
#include <numeric>

SVSJointMatrix::SVSJointMatrix(std::span<double> matrix, std::span<const std::int32_t> selected)
    : fMatrix(matrix), fvUnits(selected.size()), fvPositions(selected.size()), fvRanks(selected.size()) {
  assert(matrix.size() == selected.size() * selected.size());
  std::iota(fvPositions.begin(), fvPositions.end(), std::size_t{0});
  std::sort(fvPositions.begin(), fvPositions.end(),
            [selected](std::size_t a, std::size_t b) { return selected[a] < selected[b]; });
  for (std::size_t rank = 0; rank < fvPositions.size(); ++rank) {
    fvUnits[rank] = static_cast<std::size_t>(selected[fvPositions[rank]]) - 1;
    fvRanks[fvPositions[rank]] = rank;
  }
}

std::size_t SVSJointMatrix::CountAmong(std::size_t count) const {
  return static_cast<std::size_t>(std::lower_bound(fvUnits.begin(), fvUnits.end(), count) - fvUnits.begin());
}

void SVSJointMatrix::Set(std::size_t rank, std::size_t other, double value) {
  const std::size_t a = fvPositions[rank];
  const std::size_t b = fvPositions[other];
  fMatrix[a * Count() + b] = value;
  fMatrix[b * Count() + a] = value;
}
