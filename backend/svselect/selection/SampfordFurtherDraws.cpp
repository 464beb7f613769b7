#include "backend/svselect/selection/SampfordFurtherDraws.h"

#include <algorithm>
#include <cassert>
#include <cmath>

#include "backend/svselect/selection/CumulativeDraw.h"
#include "host/numeric/MCMathFun.h"

SampfordFurtherDraws::SampfordFurtherDraws(std::span<const double> shares, std::int32_t n)
    : fShares(shares), fRequested(n), fBefore(shares.size() + 1), fAfter(shares.size() + 1) {
  // Until the second loop fAfter holds the terms.
  for (std::size_t k = 0; k < shares.size(); ++k) {
    const double term = shares[k] / (1.0 - n * shares[k]);
    fbSumsUsable = fbSumsUsable && term >= 0.0;
    fAfter[k] = term;
    fBefore[k + 1] = fBefore[k] + term;
  }
  for (std::size_t k = shares.size(); k-- > 0;) fAfter[k] += fAfter[k + 1];
  fbSumsUsable = fbSumsUsable && std::isfinite(fBefore.back());
}

void SampfordFurtherDraws::Start(std::int32_t first) {
  fFirst = first;
  fList.clear();
}

std::int32_t SampfordFurtherDraws::Find(double u) {
  assert(fShares.size() > 1);
  if (fList.empty()) {
    const std::int32_t unit = FindInSums(u);
    if (unit != kUnsure) return unit;
  }
  const std::vector<double>& list = List();
  const std::int32_t position = FindPosition(list, 0, static_cast<std::int32_t>(list.size()) - 1, u);
  if (!LiesInInterval(list, 0, position, u)) return kNone;
  return position < fFirst ? position : position + 1;
}

const std::vector<double>& SampfordFurtherDraws::List() {
  if (!fList.empty()) return fList;
  double g = 0.0;
  for (std::size_t k = 0; k < fShares.size(); ++k) {
    if (k != static_cast<std::size_t>(fFirst)) g += fShares[k] / (1.0 - fRequested * fShares[k]);
  }
  fList.reserve(fShares.size() - 1);
  double sum = 0.0;
  for (std::size_t k = 0; k < fShares.size(); ++k) {
    if (k == static_cast<std::size_t>(fFirst)) continue;
    sum += fShares[k] / ((1.0 - fShares[k] * fRequested) * g);
    fList.push_back(sum);
  }
  return fList;
}

// The units before the first one are searched by the sums from the front, those after it by the sums from the
// end, so that neither search has to subtract the first unit's term, which can outweigh all others.
std::int32_t SampfordFurtherDraws::FindInSums(double u) const {
  if (!fbSumsUsable) return kUnsure;
  const auto first = static_cast<std::size_t>(fFirst);
  const double before = fBefore[first];
  const double after = fAfter[first + 1];
  const double total = before + after;
  const double unitOfRounding = MCCommonMath::MCPower::gMachineEpsilon / 2.0;
  const double margin = kSafety * (4.0 * static_cast<double>(fShares.size()) + 16.0) * unitOfRounding * total;
  const double target = u * total;
  if (target < before) {
    const auto end = std::upper_bound(fBefore.begin() + 1, fBefore.begin() + fFirst + 1, target);
    if (end == fBefore.begin() + fFirst + 1) return kUnsure;
    const bool bSure = *end - target > margin && target - *(end - 1) > margin;
    return bSure ? static_cast<std::int32_t>(end - fBefore.begin()) - 1 : kUnsure;
  }
  // Unit k holds what is left of the total when fAfter[k + 1] < rest <= fAfter[k].
  const double rest = total - target;
  const auto begin = fAfter.begin() + fFirst + 1;
  const auto beyond = std::partition_point(begin, fAfter.end(), [rest](double sum) { return sum >= rest; });
  if (beyond == begin || beyond == fAfter.end()) return kUnsure;
  const bool bSure = rest - *beyond > margin && *(beyond - 1) - rest > margin;
  return bSure ? static_cast<std::int32_t>(beyond - fAfter.begin()) - 1 : kUnsure;
}
