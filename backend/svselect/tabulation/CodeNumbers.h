#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/numeric/RecordIterator.h"

// Rows of a block on their way through the stages, each with the number of what it is in: first nothing, then
// a stratum, then a unit, then a stratum of the next stage, and so on.
struct SVSRows {
  std::vector<std::uint32_t> rows;    // of the block, ascending
  std::vector<std::int32_t> numbers;  // parallel to `rows`

  // Keeps the rows that `keeps`, called with a row's number, returns true for. It may change the number.
  template <class Keeps>
  void Keep(const Keeps& keeps) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (!keeps(&numbers[i])) continue;
      rows[kept] = rows[i];
      numbers[kept++] = numbers[i];
    }
    rows.resize(kept);
    numbers.resize(kept);
  }
};

// PairTable numbers pairs of whole numbers 0, 1, 2, ... in the order in which they are added.
//
// It is an open-addressed table with linear probing, at most half full, whose slots hold numbers alone; the
// pairs are in a list by number. That is small: the table of many units is most of what a pass reads beside
// the frame. The numbers depend on the order of the calls and on nothing else, so the hash may change.
class PairTable {
public:
  static constexpr std::int32_t kNone = -1;

  // kNone for a pair without a number.
  std::int32_t Find(std::int32_t left, std::int32_t right) const {
    return fvSlots[SlotOf(PairOf(left, right))];
  }
  std::int32_t FindOrAdd(std::int32_t left, std::int32_t right) {
    const std::uint64_t pair = PairOf(left, right);
    std::int32_t& slot = fvSlots[SlotOf(pair)];
    return slot != kNone ? slot : Add(pair, &slot);
  }

private:
  static constexpr std::size_t kFirstSlots = 64;  // a power of two, as it is always

  static std::uint64_t PairOf(std::int32_t left, std::int32_t right) {
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(left)) << 32 |
           static_cast<std::uint32_t>(right);
  }
  // The slot of the pair, or the free one where it belongs. Multiplicative hashing [Knuth98, section 6.4]: the
  // upper half of the product is the well mixed one.
  std::size_t SlotOf(std::uint64_t pair) const {
    const std::size_t mask = fvSlots.size() - 1;
    const std::uint64_t mixed = (pair ^ pair >> 29) * 0x9E3779B97F4A7C15U;
    std::size_t slot = mixed >> 32 & mask;
    while (fvSlots[slot] != kNone && fvPairs[static_cast<std::size_t>(fvSlots[slot])] != pair) {
      slot = (slot + 1) & mask;
    }
    return slot;
  }
  std::int32_t Add(std::uint64_t pair, std::int32_t* slot);

  std::vector<std::int32_t> fvSlots = std::vector<std::int32_t>(kFirstSlots, kNone);
  std::vector<std::uint64_t> fvPairs;  // by number
};

// CodeNumbers extends the numbers of rows by the codes of some variables: rows get equal numbers where they
// had equal ones and have equal codes. A chain of tables of pairs, (number so far, code), so a row costs one
// probe for each variable, and no key is ever made. New numbers are given in the order of the rows.
//
// Cost: 16 to 24 bytes for each number and each prefix of its codes.
class CodeNumbers {
public:
  static constexpr std::int32_t kNone = PairTable::kNone;

  // Without variables there is one extension of each number.
  explicit CodeNumbers(std::vector<std::int32_t> slots);

  // Sets the numbers of the rows; a new combination gets the next one.
  void Number(const MCCommon::RecordBlock& block, SVSRows* rows);
  // The same without new ones: a row whose combination has no number gets kNone.
  void Find(const MCCommon::RecordBlock& block, SVSRows* rows) const;

private:
  static constexpr std::int32_t kNoVariable = -1;

  std::vector<std::int32_t> fvSlots;  // of the variables
  std::vector<PairTable> fvTables;    // parallel to fvSlots
};
