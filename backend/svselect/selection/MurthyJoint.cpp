#include "backend/svselect/selection/MurthyJoint.h"

#include <utility>

#include "host/numeric/Obs.h"

double MurthyJointProb(double pa, double pb) {
  if (!(pa < 1.0) || !(pb < 1.0)) return MCMV::gMissingValue;
  if (pa <= 0.0 || pb <= 0.0) return 0.0;
  return (2.0 - pa - pb) * (pb * pa) / ((1.0 - pb) * (1.0 - pa));
}

MurthyJoint::MurthyJoint(std::span<const double> p, SVSJointMatrix matrix, std::vector<Range> rows)
    : fp(p), fMatrix(std::move(matrix)), fvRows(std::move(rows)) {}

bool MurthyJoint::Run(std::size_t range, const Stop& stop) {
  for (std::size_t position = fvRows[range].begin; position < fvRows[range].end; ++position) {
    if (stop()) return false;
    const std::size_t rank = fMatrix.Rank(position);
    for (std::size_t other = rank + 1; other < fMatrix.Count(); ++other) {
      fMatrix.Set(rank, other, MurthyJointProb(fp[fMatrix.Unit(rank)], fp[fMatrix.Unit(other)]));
    }
  }
  return true;
}
