#include "model_components/surveyplans/common/SVKey.h"

#include <algorithm>
#include <iterator>

namespace {
// The odd primes from 3 to 229, one for each position of a key. A key with more values starts over at 3.
constexpr std::uint32_t kMultipliers[] = {3,   5,   7,   11,  13,  17,  19,  23,  29,  31,  37,  41,  43,
                                          47,  53,  59,  61,  67,  71,  73,  79,  83,  89,  97,  101, 103,
                                          107, 109, 113, 127, 131, 137, 139, 149, 151, 157, 163, 167, 173,
                                          179, 181, 191, 193, 197, 199, 211, 223, 227, 229};
static_assert(std::size(kMultipliers) == 49);
}  // namespace

SVKey::SVKey(std::int32_t length) {
  Allocate(length);
}

SVKey::SVKey(const SVKey& other) : fHash(other.fHash) {
  Allocate(other.arLength);
  std::copy_n(other.Values(), arLength, Values());
}

SVKey& SVKey::operator=(const SVKey& other) {
  if (this == &other) return *this;
  if (arLength != other.arLength) {
    if (arLength > kInlineValues) delete[] arData;
    arLength = 0;  // if the allocation throws, the key is empty but valid
    Allocate(other.arLength);
  }
  std::copy_n(other.Values(), arLength, Values());
  fHash = other.fHash;
  return *this;
}

void SVKey::Allocate(std::int32_t length) {
  if (length > kInlineValues) arData = new std::int32_t[static_cast<std::size_t>(length)];
  arLength = std::max(length, 0);
}

// Computed unsigned because the products wrap, which signed arithmetic must not.
void SVKey::ComputeHash() {
  const std::int32_t* values = Values();
  std::uint32_t hash = 0;
  for (std::int32_t i = 0; i < arLength; ++i) {
    hash ^= kMultipliers[static_cast<std::size_t>(i) % std::size(kMultipliers)] *
            static_cast<std::uint32_t>(values[i]);
  }
  fHash = static_cast<std::int32_t>(hash);
}

bool SVKey::SameValues(const SVKey& other) const {
  // A plain loop is faster than std::equal here: keys have one to three values, and std::equal calls memcmp.
  const std::int32_t* a = Values();
  const std::int32_t* b = other.Values();
  for (std::int32_t i = 0; i < arLength; ++i) {
    if (a[i] != b[i]) return false;
  }
  return true;
}

bool SVKey::operator<(const SVKey& other) const {
  if (arLength != other.arLength) return arLength < other.arLength;
  return std::lexicographical_compare(Values(), Values() + arLength, other.Values(),
                                      other.Values() + arLength);
}
