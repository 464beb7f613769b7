#pragma once

#include <cassert>
#include <cstdint>
#include <cstdio>

// SVKey identifies a stratum or a unit: a short list of category codes, with its hash kept beside it.
//
// Use:        construct with a length, fill by operator[], call ComputeHash() once; then find, compare, copy.
// Ownership:  owns its values. Up to kInlineValues of them stand in the key itself, more on the heap, so
//             that millions of keys of one or two codes cost no allocation. Copies are deep.
// Invariants: arLength >= 0; the hash belongs to the values only after ComputeHash() or a copy.
class SVKey {
public:
  static constexpr std::int32_t kInlineValues = 2;

  // The largest code whose product with the largest multiplier of the hash stays below 2^31.
  static constexpr std::int32_t MaxValue() { return 9377657; }

  SVKey() = default;                    // no values, hash 0
  explicit SVKey(std::int32_t length);  // values are for the caller to fill; 0 or less: no values
  SVKey(const SVKey& other);
  SVKey& operator=(const SVKey& other);
  ~SVKey() {
    if (arLength > kInlineValues) delete[] arData;
  }

  // REQUIRES: i is inside the key.
  std::int32_t& operator[](std::int32_t i) {
    assert(0 <= i && i < arLength);
    return Values()[i];
  }
  std::int32_t operator[](std::int32_t i) const {
    assert(0 <= i && i < arLength);
    return Values()[i];
  }

  std::int32_t Length() const { return arLength; }
  std::int32_t Hash() const { return fHash; }

  // The exclusive or of each value times an odd prime that goes by its position; products wrap at 32 bits.
  void ComputeHash();

  // Equal hash, length and values; the hashes are compared first.
  bool operator==(const SVKey& other) const {
    return fHash == other.fHash && arLength == other.arLength && SameValues(other);
  }

  // The shorter key first; of equally long ones the first value that differs decides.
  bool operator<(const SVKey& other) const;

  // One diagnostic line, without its end.
  void Display(std::FILE* out) const;

private:
  std::int32_t* Values() { return arLength > kInlineValues ? arData : fInline; }
  const std::int32_t* Values() const { return arLength > kInlineValues ? arData : fInline; }
  bool SameValues(const SVKey& other) const;
  void Allocate(std::int32_t length);

  union {
    std::int32_t* arData;                      // owned; in use when arLength > kInlineValues
    std::int32_t fInline[kInlineValues] = {};  // else
  };
  std::int32_t arLength = 0;
  std::int32_t fHash = 0;
};
static_assert(sizeof(SVKey) == 16);
