// Blocks of records: what SVSInputAdapter.cpp does for each case, column by column.

#include <algorithm>
#include <numeric>
#include <vector>

#include "backend/svselect/records/SVSInputAdapter.h"
#include "host/engine/ProcDSIterator.h"
#include "host/numeric/Obs.h"

bool SVSInputAdapter::HasBlocks() const {
  const auto isServed = [this](std::int32_t variable) { return fpIterator->HasColumn(variable); };
  const auto slotIsServed = [&](const auto& entry) { return isServed(entry.first); };
  const auto tableIsServed = [&](const auto& entry) {
    const std::vector<std::int32_t>& variables = *fpSelectSpecs->MatrixSpec(entry.first)->variables;
    return std::all_of(variables.begin(), variables.end(), isServed);
  };
  const auto& categorical = fpSelectSpecs->CatRecordIndex();
  const auto& continuous = fpSelectSpecs->ContRecordIndex();
  const auto& tables = fpSelectSpecs->MatrixRecordIndex();
  return fpIterator->HasBlocks() && std::all_of(categorical.begin(), categorical.end(), slotIsServed) &&
         std::all_of(continuous.begin(), continuous.end(), slotIsServed) &&
         std::all_of(tables.begin(), tables.end(), tableIsServed) &&
         std::all_of(fpSelectSpecs->TextSlots().begin(), fpSelectSpecs->TextSlots().end(), slotIsServed);
}

const MCCommon::RecordBlock* SVSInputAdapter::ReadBlock(std::size_t rows) {
  const auto slots = static_cast<std::size_t>(RecordSize());
  fBlock.firstCase = fpIterator->BlockBegin();
  fBlock.codes.assign(slots, nullptr);
  fBlock.numbers.assign(slots, nullptr);
  fvNumbers.resize(slots);
  ReadCodes(rows);
  if (!ReadNumbers(rows) || !ReadTables(rows)) return nullptr;
  ReadTexts(rows);
  CountLacks(rows);
  CountBlock(rows, fvRecords.size());
  fBlock.records = fvRecords;
  return &fBlock;
}

// All variables are encoded in all rows, so that codes don't depend on rejections.
void SVSInputAdapter::ReadCodes(std::size_t rows) {
  fvCodes.resize(fvCatReaders.size());
  fvRecords.resize(rows);
  for (std::uint32_t row = 0; row < rows; ++row) fvRecords[row] = row;
  for (std::size_t i = 0; i < fvCatReaders.size(); ++i) {
    std::vector<std::int32_t>& codes = fvCodes[i];
    codes.resize(rows);
    const CaseColumn column = fpIterator->BlockColumn(fvCatReaders[i]->Variable());
    fvCatReaders[i]->ReadBlock(column, PassCounter() == 0, codes);
    fBlock.codes[static_cast<std::size_t>(fvCatSlots[i])] = codes.data();
    std::erase_if(fvRecords, [&codes](std::uint32_t row) { return codes[row] == 0; });
  }
}

// False for a rate or size that isn't allowed. As case by case, it may be that of a case without a previous
// weight.
bool SVSInputAdapter::ReadNumbers(std::size_t rows) {
  const double* weights = nullptr;
  auto contVar = fvContVars.begin();
  for (const auto& [variable, slot] : fpSelectSpecs->ContRecordIndex()) {
    double* const numbers = NumbersOf(slot, rows);
    if (!(*contVar++)->ReadBlock(fpIterator->BlockColumn(variable), fvRecords, numbers)) return false;
    if (variable == fpSelectSpecs->PreviousWeightVar()) weights = numbers;
  }
  if (weights != nullptr) {
    std::erase_if(fvRecords, [weights](std::uint32_t row) { return weights[row] == MCMV::gMissingValue; });
  }
  return true;
}

// False for a case of which a table has no row.
bool SVSInputAdapter::ReadTables(std::size_t rows) {
  auto table = fvMatrixSpecs.begin();
  for (const auto& [position, slot] : fpSelectSpecs->MatrixRecordIndex()) {
    if (!(*table++)->ReadBlock(*fpIterator, fvRecords, NumbersOf(slot, rows))) return false;
  }
  return true;
}

// Codes as numbers: the computation compares them as it does other numbers.
void SVSInputAdapter::ReadTexts(std::size_t rows) {
  std::vector<std::int32_t> codes(fvTextReaders.empty() ? 0 : rows);
  for (const TextReader& text : fvTextReaders) {
    text.reader->ReadBlock(fpIterator->BlockColumn(text.reader->Variable()), PassCounter() == 0, codes);
    std::copy(codes.begin(), codes.end(), NumbersOf(text.slot, rows));
  }
}

void SVSInputAdapter::CountLacks(std::size_t rows) {
  if (fvRecords.size() == rows || PassCounter() != 0) return;
  for (std::size_t i = 0; i < fvCatReaders.size(); ++i) {
    CountLackOf(fvCatReaders[i]->Variable(), std::count(fvCodes[i].begin(), fvCodes[i].end(), 0));
  }
  CountLackOf(fpSelectSpecs->PreviousWeightVar(), CountWeightless(rows));
}

// Rows without the previous weight, whatever else they lack.
std::int64_t SVSInputAdapter::CountWeightless(std::size_t rows) const {
  std::vector<std::uint32_t> all(rows);
  std::iota(all.begin(), all.end(), 0U);
  std::vector<double> weights(rows);
  auto contVar = fvContVars.begin();
  for (const auto& [variable, slot] : fpSelectSpecs->ContRecordIndex()) {
    const SVAdaptContVar& reader = **contVar++;
    if (variable != fpSelectSpecs->PreviousWeightVar()) continue;
    reader.ReadBlock(fpIterator->BlockColumn(variable), all, weights.data());
    return std::count(weights.begin(), weights.end(), MCMV::gMissingValue);
  }
  return 0;
}

// The place for the numbers of a slot.
double* SVSInputAdapter::NumbersOf(std::int32_t slot, std::size_t rows) {
  std::vector<double>& numbers = fvNumbers[static_cast<std::size_t>(slot)];
  numbers.resize(rows);
  fBlock.numbers[static_cast<std::size_t>(slot)] = numbers.data();
  return numbers.data();
}
