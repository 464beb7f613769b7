#include "host/model/ObsVecMap.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

#include "host/model/KORV_DataSource.h"

namespace {

// Cells per allocation, 32 KB: few allocations for many entries, and little waste when there are few.
constexpr std::size_t kChunkCells = 4096;

// The bits by which a cell is hashed and compared. Adding 0.0 turns -0 into 0 and leaves every other number
// as it is, so afterwards equal numbers have equal bits.
std::uint64_t ComparableBits(const OBS& cell, bool numeric) {
  if (numeric) return std::bit_cast<std::uint64_t>(cell.number + 0.0);
  std::uint64_t bits;
  std::memcpy(&bits, cell.text, sizeof bits);
  return bits;
}

// Multiplies by an odd constant with well-mixed bits and folds the 128-bit product by xor. A plain 64-bit
// product would not do: doubles of small whole numbers differ only in their highest bits, and the low half of
// a product never sees those. The fold carries them into the low bits, which choose the slot.
std::uint64_t Mix(std::uint64_t bits) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(bits) * 0x9ddfea08eb382d69ULL;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

bool KeyLess(const ObsVecMap::KeySpec& keySpec, const OBS* left, const OBS* right) {
  for (const std::int32_t width : keySpec) {
    const std::size_t cells = ObsCells(width);
    if (width == 0) {
      if (left->number != right->number) return left->number < right->number;
    } else if (const int order = std::memcmp(left, right, cells * sizeof(OBS)); order != 0) {
      return order < 0;
    }
    left += cells;
    right += cells;
  }
  return false;
}

}  // namespace

std::size_t ObsVecMap::KeyHash::operator()(const OBS* key) const {
  std::uint64_t hash = numeric->size();
  for (std::size_t i = 0; i < numeric->size(); ++i) {
    hash = Mix(hash ^ ComparableBits(key[i], (*numeric)[i] != 0));
  }
  return hash;
}

bool ObsVecMap::KeyEqual::operator()(const OBS* left, const OBS* right) const {
  for (std::size_t i = 0; i < numeric->size(); ++i) {
    const bool isNumber = (*numeric)[i] != 0;
    if (ComparableBits(left[i], isNumber) != ComparableBits(right[i], isNumber)) return false;
  }
  return true;
}

ObsVecMap::KeySpec ObsVecMap::MakeKeySpec(const KORV_DataSource& source,
                                          const std::vector<std::int32_t>& variables) {
  KeySpec keySpec;
  keySpec.reserve(variables.size());
  for (const std::int32_t variable : variables) keySpec.push_back(source.GetVariable(variable).GetType());
  return keySpec;
}

ObsVecMap::ObsVecMap(const KeySpec& keySpec, std::size_t valueCells)
    : fKeySpec(keySpec), fEntries(0, KeyHash{&fNumericCells}, KeyEqual{&fNumericCells}) {
  for (const std::int32_t width : keySpec)
    fNumericCells.insert(fNumericCells.end(), ObsCells(width), width == 0);
  fKeyCells = fNumericCells.size();
  fCellSize = fKeyCells + valueCells;
  assert(fCellSize > 0);
  fChunkEntries = std::max<std::size_t>(1, kChunkCells / fCellSize);
}

ObsVecMap::~ObsVecMap() = default;

OBS* ObsVecMap::Contains(const OBS* key) const {
  // The set's key type is a non-const pointer, but lookup only reads through it.
  const auto found = fEntries.find(const_cast<OBS*>(key));
  return found == fEntries.end() ? nullptr : *found + fKeyCells;
}

OBS* ObsVecMap::Insert(const OBS* key) {
  assert(Contains(key) == nullptr);
  const std::size_t inChunk = Size() % fChunkEntries;
  if (inChunk == 0) fChunks.push_back(std::make_unique<OBS[]>(fChunkEntries * fCellSize));
  OBS* entry = fChunks.back().get() + inChunk * fCellSize;
  std::copy_n(key, fKeyCells, entry);
  fEntries.insert(entry);
  return entry + fKeyCells;
}

std::vector<OBS*> ObsVecMap::Sort() const {
  std::vector<OBS*> entries(fEntries.begin(), fEntries.end());
  std::sort(entries.begin(), entries.end(),
            [this](const OBS* left, const OBS* right) { return KeyLess(fKeySpec, left, right); });
  return entries;
}
