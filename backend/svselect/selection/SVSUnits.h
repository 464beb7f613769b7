#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

#include "host/numeric/Obs.h"
#include "model_components/surveyplans/common/SVKey.h"

// SVSUnits are the sampling units of one stratum, clusters or single cases: their measures of size before
// selection, and what selection decided about those that it took. A unit is a number from 0, in the order in
// which the units appeared.
//
// Nothing is kept that all units share or that nobody asks for. Sizes are stored once two of them differ, so
// units of equal probability are a count; a key has the length that the stage gives it, which may be 0; and
// results are kept of the units that were taken. So cases as units cost 8 bytes each where they have measures
// of size, and nothing where they don't.
//
// Units that are ordered, by their method or by the plan, are so in a list of positions; else position and unit
// are the same.
// Units that aren't drawn, because they are taken for certain, come after the list, at further positions.
class SVSUnits {
public:
  struct Result {
    enum Role : std::int32_t { kDrawn, kCertain };

    std::int32_t unit = 0;
    Role role = kDrawn;
    double inclProb = MCMV::gMissingValue;  // of the stage, as is the weight
    double weight = MCMV::gMissingValue;
    double hits = MCMV::gMissingValue;  // number of selections

    bool IsSelected() const { return weight != MCMV::gMissingValue; }
  };

  explicit SVSUnits(std::size_t keyLength) : fKeyLength(keyLength) {}

  // --- while the stage tabulates ---
  // Adds a unit and returns it. `key` has the codes of its key.
  std::int32_t Add(const std::int32_t* key, double size);
  // Adds so many units of the same size. REQUIRES: keys have no codes, and no other units are added.
  void AddMany(std::int32_t count, double size) {
    fCount += count;
    fCommonSize = size;
  }
  // For a size that is the number of the unit's records.
  void CountRecord(std::int32_t unit) { SetSize(unit, SizeOf(unit) + 1.0); }
  // Holds the value of a further record against the unit's size. False if they disagree. A size still missing
  // takes the value, and any other stays.
  bool CheckSize(std::int32_t unit, double value) {
    const double size = SizeOf(unit);
    return (size == value && size >= 0.0) || CheckOtherSize(unit, size, value);
  }

  std::int32_t Count() const { return fCount; }
  // Units to draw from; the further ones are set apart.
  std::int32_t ListCount() const { return fCount - fApart; }
  std::int32_t ApartCount() const { return fApart; }
  double SizeOf(std::int32_t unit) const {
    return fvSizes.empty() ? fCommonSize : fvSizes[static_cast<std::size_t>(unit)];
  }
  void SetSize(std::int32_t unit, double size);
  SVKey KeyOf(std::int32_t unit) const;
  bool HasLowerKey(std::int32_t a, std::int32_t b) const;

  // --- the list that is drawn from ---
  std::int32_t UnitAt(std::int32_t position) const {
    return fvOrder.empty() ? position : fvOrder[static_cast<std::size_t>(position)];
  }
  // Orders the list by a comparison of units, which must tell any two of them apart.
  template <class Less>
  void Sort(const Less& less) {
    fvOrder.resize(static_cast<std::size_t>(fCount));
    std::iota(fvOrder.begin(), fvOrder.end(), 0);
    std::sort(fvOrder.begin(), fvOrder.end(), less);
  }

  void SetOrder(std::vector<std::int32_t> order) { fvOrder = std::move(order); }
  // Sets the units at the marked positions apart, behind those that stay in the list.
  // REQUIRES: no unit is apart, and there is a mark for each position.
  void SetApart(const std::vector<std::uint8_t>& isApart);

  // --- the results ---
  // A unit that is taken again gets the later result.
  void SetResult(const Result& result) { fvResults.push_back(result); }
  // Ends the draw: results are ready to be read from here on.
  void FinishResults();
  const std::vector<Result>& Results() const { return fvResults; }  // by unit
  // Null for a unit that wasn't taken.
  const Result* ResultOf(std::int32_t unit) const;

private:
  bool CheckOtherSize(std::int32_t unit, double size, double value);

  std::size_t fKeyLength;  // codes
  std::int32_t fCount = 0;
  double fCommonSize = MCMV::gMissingValue;  // of all units while fvSizes is empty
  std::vector<double> fvSizes;               // by unit, or empty
  std::vector<std::int32_t> fvKeys;          // one key after the other
  std::vector<std::int32_t> fvOrder;         // unit by position; empty where they are the same
  std::int32_t fApart = 0;                   // units behind the list
  std::vector<Result> fvResults;
};
