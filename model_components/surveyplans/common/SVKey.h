#pragma once

#include <cassert>
#include <cstdint>

// SVKey identifies a stratum or a unit: a short list of category codes, stored together with its hash.
//
// Use:        construct with a length, fill by operator[], call ComputeHash() once; then find, compare, copy.
//             A key that is filled again needs ComputeHash() again.
// Ownership:  owns its values. Up to kInlineValues of them are stored in the key itself, more on the heap, so
//             millions of keys of one or two codes need no allocation. Copies are deep.
//
// Invariants: (1) arLength >= 0.
//             (2) fHash is the hash of the values after ComputeHash() or a copy; after operator[] it is
//             stale.
//
// The hash decides the order in which strata are drawn (see SVHashtable.h), so it must never change.
class SVKey {
public:
  static constexpr std::int32_t kInlineValues = 2;

  // The largest code that can't overflow in the hash: its product with the largest multiplier, 229, is still
  // below 2^31. Larger codes are allowed; their products wrap.
  static constexpr std::int32_t MaxValue() { return 9377657; }

  SVKey() = default;                    // no values, hash 0
  explicit SVKey(std::int32_t length);  // the caller fills the values; 0 or less means no values
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

  // hash = (m_0 * v_0) xor (m_1 * v_1) xor ..., where m_i is the i-th odd prime; products wrap at 32 bits.
  void ComputeHash();

  // The hashes are compared first: nearly all pairs of different keys differ in them.
  bool operator==(const SVKey& other) const {
    return fHash == other.fHash && arLength == other.arLength && SameValues(other);
  }

  // Shorter keys come first; keys of equal length compare value by value.
  bool operator<(const SVKey& other) const;

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
