#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "backend/svcommon/design/DesignStage.h"
#include "host/numeric/RecordIterator.h"

// UnitOrder orders the units of the strata of a stage by variables that are constant within a unit, so that a
// systematic or sequential draw spreads the sample along them: implicit stratification.
//
// The order is nested: by the first variable, units that are equal in it by the second, and so on; units that
// are equal in all stay in the order of their first records. A missing value is lower than any other. In a
// serpentine order the runs of units that are equal in the variables so far are counted through the list, and
// every second one is reversed, so that neighbours are alike across the borders of runs as well.
//
// Memory: 8 bytes for each variable of a unit, until the pass is over.
class UnitOrder {
public:
  // Ranks of the codes 1, 2, 3, ... of the text variable in a slot of the record.
  using TextRanks = std::function<std::vector<std::int32_t>(std::int32_t slot)>;

  UnitOrder(const std::vector<DesignStage::OrderKey>& keys, bool isSerpentine)
      : fvKeys(keys), fbSerpentine(isSerpentine) {}

  // The next unit of a stratum, by its first record. Strata come in order of their numbers.
  void AddUnit(std::int32_t stratum, const MCCommon::RecordBlock& block, std::uint32_t row);
  // Whether a further record of the unit has the same values.
  bool IsSame(std::int32_t stratum, std::int32_t unit, const MCCommon::RecordBlock& block,
              std::uint32_t row) const;

  // Ends the pass. Without a function texts are ordered by their codes.
  void RankTexts(const TextRanks& ranks);
  // The units of a stratum in their order; what is known of them is forgotten. REQUIRES: RankTexts().
  std::vector<std::int32_t> TakeOrder(std::size_t stratum);

private:
  double ValueIn(const MCCommon::RecordBlock& block, std::size_t key, std::uint32_t row) const {
    return block.numbers[static_cast<std::size_t>(fvKeys[key].variable)][row];
  }

  std::vector<DesignStage::OrderKey> fvKeys;
  bool fbSerpentine;
  std::vector<std::vector<double>> fvValues;  // by stratum: of each unit in turn, one for each key
};

// Orders units by their values, which are listed unit by unit, one for each key.
std::vector<std::int32_t> OrderUnits(std::span<const double> values,
                                     const std::vector<DesignStage::OrderKey>& keys, bool isSerpentine);
