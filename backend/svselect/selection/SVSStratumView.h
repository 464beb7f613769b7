#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/selection/SVSUnits.h"
#include "host/numeric/Obs.h"

// What a draw sees of its stratum, and where it puts the units that it takes. Draws and joint probabilities
// know no settings, stages or stored statuses, so they run over any lists.
//
// Notation in all of them: units 1..N in the order of the list; s(i) the size of unit i, S(i) the running sum
// of the sizes and M their total; p(i) = s(i) / M the share of unit i and c(i) the running sum of the shares;
// n the number of units asked for. Lists are 0-based, so sizes[i - 1] is s(i). Sums are plain sums of doubles
// in list order, and no operation may change its place: every digit of a sample depends on it.

// Everything is borrowed. A method sees only the lists that MethodFunctions.h gives it; the others are empty.
struct SVSStratumView {
  std::int32_t units = 0;                      // N, at least 1
  std::int32_t requested = 0;                  // n, at least 1, at most N without replacement
  std::span<const double> sizes{};             // s
  std::span<const double> cumulativeSizes{};   // S
  std::span<const double> shares{};            // p, all 0 where M isn't positive
  std::span<const double> cumulativeShares{};  // c
  double totalSize = 0.0;                      // M
  SizeLimit limit = SizeLimit::kNone;          // the method's
  bool exact = false;                          // draw with exactly the probabilities that are stated
  SVCancelInfo* cancelInfo = nullptr;

  // n p(i) of the unit at a 0-based index.
  double RequestedShare(std::int32_t index) const {
    return requested * shares[static_cast<std::size_t>(index)];
  }

  // Whether a size is beyond the method's limit, by comparison with M / n.
  bool AnySizeTooLarge() const {
    const double bound = totalSize / requested;
    return std::any_of(sizes.begin(), sizes.end(), [this, bound](double size) {
      return limit == SizeLimit::kBelowOne ? size >= bound : limit == SizeLimit::kAtMostOne && size > bound;
    });
  }

  bool Cancelled() const { return cancelInfo->IsCancelled(); }
};

// The stage weight of a unit of that inclusion probability.
inline double WeightOf(double inclProb) {
  return inclProb > 0.0 ? 1.0 / inclProb : MCMV::gMissingValue;
}

// What a draw states about a unit that it takes.
struct SVSStated {
  double inclProb = 0.0;
  double weight = MCMV::gMissingValue;
};

// The same for a unit of the inclusion probability n p(i).
inline SVSStated StatedBySize(const SVSStratumView& stratum, std::int32_t position) {
  const double inclProb = stratum.RequestedShare(position);
  return {inclProb, WeightOf(inclProb)};
}

// Takes the units of one draw. Their results go to the units at once, so a draw that may be cancelled decides
// whether it takes units as it goes or only at its end.
class SVSTakenUnits {
public:
  // Borrows everything. A method that names its units appends each one to `selected` and its 1-based position
  // to `numbers`.
  SVSTakenUnits(const SVMethod& method, SVSUnits* units, std::vector<std::int32_t>* selected,
                std::vector<std::int32_t>* numbers)
      : fMethod(method), fpUnits(units), fpSelected(selected), fpNumbers(numbers) {}

  // Takes the unit at a 0-based position, which was hit `hits` times.
  void Take(std::int32_t position, const SVSStated& stated, std::int32_t hits = 1) {
    const std::int32_t unit = fpUnits->UnitAt(position);
    fpUnits->SetResult(
        {unit, SVSUnits::Result::kDrawn, stated.inclProb, stated.weight, static_cast<double>(hits)});
    fCount += fMethod.withReplacement ? hits : 1;
    if (!fMethod.namesUnits) return;
    fpSelected->push_back(unit);
    fpNumbers->push_back(position + 1);
  }

  // The same with the inclusion probability n p(i).
  void TakeBySize(const SVSStratumView& stratum, std::int32_t position, std::int32_t hits = 1) {
    Take(position, StatedBySize(stratum, position), hits);
  }

  // Units taken so far; their hits with replacement. Saturates, since negative sizes can lead the line of
  // PPS_WR back, where one point hits several units.
  std::int32_t Count() const {
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(fCount, std::numeric_limits<std::int32_t>::max()));
  }

private:
  const SVMethod& fMethod;
  SVSUnits* fpUnits;
  std::vector<std::int32_t>* fpSelected;
  std::vector<std::int32_t>* fpNumbers;
  std::int64_t fCount = 0;
};

// Receives what a draw would do to each unit of its stratum, without a draw: either TakeAll() or, for each
// position of the list in turn, Take(). `hits` is the number of selections that the unit can expect; without
// replacement, the probability of its selection.
class SVSForeseenUnits {
public:
  virtual ~SVSForeseenUnits() = default;
  virtual void TakeAll(const SVSStated& stated, double hits) = 0;
  virtual void Take(std::int32_t position, const SVSStated& stated, double hits) = 0;
  // For a draw that is repeated until it succeeds: about how many attempts it takes. May be infinite.
  virtual void SetAttempts(double attempts) = 0;

  // Units of the inclusion probabilities n p(i), without replacement.
  void TakeAllBySize(const SVSStratumView& stratum) {
    for (std::int32_t i = 0; i < stratum.units; ++i) {
      Take(i, StatedBySize(stratum, i), stratum.RequestedShare(i));
    }
  }
};
