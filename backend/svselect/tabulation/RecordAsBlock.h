#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/numeric/Fuzzy.h"
#include "host/numeric/RecordIterator.h"

// The code of a category. Codes are whole here already; adding a half guards against a conversion before this
// point that leaves one just below.
inline std::int32_t CodeOf(double value) {
  return TruncateToInt32(value + 0.5);
}

// RecordAsBlock shows a single record as a block of one row, so that whoever reads blocks reads records too.
// Each slot has both a code and a number there, whatever it holds.
//
// Ownership:  owns copies of the values; the block is valid until the next call.
class RecordAsBlock {
public:
  explicit RecordAsBlock(std::size_t slots) : fvCodes(slots), fvNumbers(slots) {
    fBlock.records = {&kOnlyRow, 1};
    for (std::size_t slot = 0; slot < slots; ++slot) {
      fBlock.codes.push_back(&fvCodes[slot]);
      fBlock.numbers.push_back(&fvNumbers[slot]);
    }
  }
  RecordAsBlock(const RecordAsBlock&) = delete;
  RecordAsBlock& operator=(const RecordAsBlock&) = delete;

  // REQUIRES: the record has at least that many slots.
  const MCCommon::RecordBlock& Show(const double* record, double caseId) {
    for (std::size_t slot = 0; slot < fvCodes.size(); ++slot) {
      fvCodes[slot] = CodeOf(record[slot]);
      fvNumbers[slot] = record[slot];
    }
    fBlock.firstCase = static_cast<std::int64_t>(caseId);
    return fBlock;
  }

private:
  static constexpr std::uint32_t kOnlyRow = 0;

  std::vector<std::int32_t> fvCodes;
  std::vector<double> fvNumbers;
  MCCommon::RecordBlock fBlock;
};
