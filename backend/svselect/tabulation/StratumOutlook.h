#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "backend/svselect/selection/SVSStratumView.h"

// What a draw would do to the units of a stratum, by unit.
class StratumOutlook : public SVSForeseenUnits {
public:
  struct Unit {
    double prob = 0.0;  // of its selection, as it really is
    double hits = 0.0;  // that it can expect
    double stated = 0.0;
    double weight = MCMV::gMissingValue;  // of the stage, if it is taken

    // As SVSUnits::Result::IsSelected(): a unit without a weight doesn't count as selected.
    bool CanBeTaken() const { return hits > 0.0 && weight != MCMV::gMissingValue; }
  };

  explicit StratumOutlook(const SVSUnits& units, bool withReplacement)
      : fListed(units), fbWithReplacement(withReplacement) {}

  void TakeAll(const SVSStated& stated, double hits) override { fvUnits = {UnitOf(stated, hits)}; }
  void Take(std::int32_t position, const SVSStated& stated, double hits) override {
    fvUnits.resize(static_cast<std::size_t>(fListed.Count()));
    fvUnits[static_cast<std::size_t>(fListed.UnitAt(position))] = UnitOf(stated, hits);
  }
  void SetAttempts(double attempts) override { fAttempts = attempts; }
  double Attempts() const { return fAttempts; }
  // Takes the units for certain that are set apart from the list; to be called last.
  void TakeApart() {
    if (fListed.ApartCount() == 0) return;
    fvUnits.resize(static_cast<std::size_t>(fListed.Count()), Of(0));
    for (std::int32_t position = fListed.ListCount(); position < fListed.Count(); ++position) {
      fvUnits[static_cast<std::size_t>(fListed.UnitAt(position))] = UnitOf({1.0, 1.0}, 1.0);
    }
  }
  // Corrects the probability of a unit to that which its draw really has.
  void SetProb(std::int32_t position, double prob) {
    Unit& unit = fvUnits[static_cast<std::size_t>(fListed.UnitAt(position))];
    unit.prob = unit.hits = prob;
  }

  bool IsEmpty() const { return fvUnits.empty(); }     // nothing is drawn
  bool IsSame() const { return fvUnits.size() == 1; }  // for all units
  const Unit& Of(std::int32_t unit) const {
    static constexpr Unit kNone;
    if (IsEmpty()) return kNone;
    return IsSame() ? fvUnits.front() : fvUnits[static_cast<std::size_t>(unit)];
  }

private:
  Unit UnitOf(const SVSStated& stated, double hits) const {
    const Unit unit = {fbWithReplacement ? stated.inclProb : hits, hits, stated.inclProb, stated.weight};
    return unit.CanBeTaken() ? unit : Unit();
  }

  const SVSUnits& fListed;  // borrowed
  bool fbWithReplacement;
  double fAttempts = 1.0;
  std::vector<Unit> fvUnits;  // one for all, or each by its number
};
