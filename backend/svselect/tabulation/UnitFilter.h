#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "model_components/surveyplans/common/SVKey.h"

// UnitFilter tells of most units that weren't selected that they weren't, with one look at a table so small
// that it stays in the processor's caches: a bit for each selected unit among kBitsPerUnit for each of them.
// The search in the table of all units, which doesn't, is left to the rest.
class UnitFilter {
public:
  // Starts anew, for that many units.
  void Reset(std::size_t units) { fvWords.assign(std::bit_ceil(units * kBitsPerUnit / 64 + 1), 0); }
  void Add(const SVKey& key) { fvWords[WordOf(key)] |= BitOf(key); }

  // False: the unit isn't among those that were added. Without Reset() none is.
  bool MayHold(const SVKey& key) const {
    return !fvWords.empty() && (fvWords[WordOf(key)] & BitOf(key)) != 0;
  }

private:
  static constexpr std::size_t kBitsPerUnit = 16;

  static std::uint64_t Mix(
      const SVKey& key) {  // 2^64 by the golden ratio; the high bits are the well mixed ones
    return static_cast<std::uint32_t>(key.Hash()) * 0x9E3779B97F4A7C15U;
  }
  std::size_t WordOf(const SVKey& key) const { return (Mix(key) >> 32) & (fvWords.size() - 1); }
  static std::uint64_t BitOf(const SVKey& key) { return std::uint64_t{1} << (Mix(key) >> 26 & 63); }

  std::vector<std::uint64_t> fvWords;  // their number is a power of two
};
