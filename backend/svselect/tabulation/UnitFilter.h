#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "model_components/surveyplans/common/SVKey.h"

// UnitFilter answers quickly, for most units that weren't selected, that they weren't.
//
// After the draw, each record of each further pass asks whether its unit was selected. The answer is in the
// stratum's table of units, but that table holds all units, and in a file in random order nearly every search
// in it waits for memory. Samples are small: this filter holds one bit for each selected unit, in a table so
// small that it stays in the processor's caches, and only records that pass it need the search.
//
// It is a Bloom filter with a single hash function [Bloom70]: with at least kBitsPerUnit bits per selected
// unit, at most about 1 in kBitsPerUnit unselected units passes it, and a selected one always does.
//
// Use:        Reset(), Add() each selected unit, then MayHold().
// Threads:    const methods may run in parallel.
class UnitFilter {
public:
  // Empties the filter and makes room for that many units. Always at least one word, so that the mask works.
  void Reset(std::size_t units) { fvWords.assign(std::bit_ceil(units * kBitsPerUnit / 64 + 1), 0); }
  void Add(const SVKey& key) { fvWords[WordOf(key)] |= BitOf(key); }

  // False if the unit surely wasn't added. Before Reset() the answer is false for every unit.
  bool MayHold(const SVKey& key) const {
    return !fvWords.empty() && (fvWords[WordOf(key)] & BitOf(key)) != 0;
  }

private:
  static constexpr std::size_t kBitsPerUnit = 16;

  // Multiplicative hashing [Knuth98, section 6.4]. The upper bits of the product are the well mixed ones; the
  // word and the bit within it are taken from separate parts of them.
  static std::uint64_t Mix(const SVKey& key) {
    return static_cast<std::uint32_t>(key.Hash()) * 0x9E3779B97F4A7C15U;
  }
  std::size_t WordOf(const SVKey& key) const { return (Mix(key) >> 32) & (fvWords.size() - 1); }
  static std::uint64_t BitOf(const SVKey& key) { return std::uint64_t{1} << (Mix(key) >> 26 & 63); }

  std::vector<std::uint64_t> fvWords;  // a power of two of them, or none before Reset()
};
