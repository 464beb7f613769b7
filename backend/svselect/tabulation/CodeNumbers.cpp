#include "backend/svselect/tabulation/CodeNumbers.h"

#include <utility>

std::int32_t PairTable::Add(std::uint64_t pair, std::int32_t* slot) {
  const auto number = static_cast<std::int32_t>(fvPairs.size());
  *slot = number;
  fvPairs.push_back(pair);
  if (fvPairs.size() > fvSlots.size() / 2) {
    fvSlots.assign(2 * fvSlots.size(), kNone);
    for (std::int32_t moved = 0; moved <= number; ++moved) {
      fvSlots[SlotOf(fvPairs[static_cast<std::size_t>(moved)])] = moved;
    }
  }
  return number;
}

CodeNumbers::CodeNumbers(std::vector<std::int32_t> slots) : fvSlots(std::move(slots)) {
  if (fvSlots.empty()) fvSlots.push_back(kNoVariable);
  fvTables.resize(fvSlots.size());
}

void CodeNumbers::Number(const MCCommon::RecordBlock& block, SVSRows* rows) {
  for (std::size_t k = 0; k < fvSlots.size(); ++k) {
    PairTable& table = fvTables[k];
    const std::int32_t* const codes =
        fvSlots[k] == kNoVariable ? nullptr : block.codes[static_cast<std::size_t>(fvSlots[k])];
    for (std::size_t i = 0; i < rows->rows.size(); ++i) {
      std::int32_t& number = rows->numbers[i];
      number = table.FindOrAdd(number, codes == nullptr ? 0 : codes[rows->rows[i]]);
    }
  }
}

void CodeNumbers::Find(const MCCommon::RecordBlock& block, SVSRows* rows) const {
  for (std::size_t k = 0; k < fvSlots.size(); ++k) {
    const PairTable& table = fvTables[k];
    const std::int32_t* const codes =
        fvSlots[k] == kNoVariable ? nullptr : block.codes[static_cast<std::size_t>(fvSlots[k])];
    for (std::size_t i = 0; i < rows->rows.size(); ++i) {
      std::int32_t& number = rows->numbers[i];
      if (number != kNone) number = table.Find(number, codes == nullptr ? 0 : codes[rows->rows[i]]);
    }
  }
}
