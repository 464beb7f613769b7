#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "model_components/surveyplans/common/SVKey.h"

// SVHashtable maps keys to values: the strata of a stage, the clauses of a selection rule.
//
// Why a table of our own: its iteration order is part of the behaviour of a run. Strata are drawn in that
// order from one generator, so the order decides which random numbers each stratum gets. No library promises
// that its table will iterate the same way in its next version, on another machine or with another compiler;
// this one must, because the same seed has to give the same sample for ever.
//
// What fixes the order: the hash of SVKey, the first number of buckets (89), the load factor (0.75), growth
// to 2 n + 1 buckets, new entries at the head of their chain, and the reversal of each chain when the table
// grows. A change to any one of these changes samples that users rely on. Nothing else may enter: no
// addresses, no seeds per process.
//
// The hash itself is weak. Each code is multiplied by an odd prime and the products are combined by exclusive
// or, so keys of two codes or more can pile up in a few chains. Since the hash can't be improved without
// changing samples, such keys are also entered in an index beside the buckets, an open-addressed table with a
// better hash. Find() uses the index; iteration never does, so the index has no influence on the order.
//
// Use:        Insert() while records are tabulated, then Find() and iterate. Nothing is ever erased.
// Ownership:  owns keys and values. They live in entries, which are allocated in chunks; a key of one or two
//             codes needs no allocation of its own. An entry never moves, so pointers to entries, keys and
//             values are valid until the table is destroyed.
// Threads:    const methods may run in parallel; Insert() needs exclusive access.
// Failures:   std::bad_alloc only.
// Cost:       Find() and Insert() are O(1) expected. An entry takes its value, 24 bytes and its share of the
//             buckets, at most 8 * 2 / kLoadFactor bytes; with two codes or more also 16 to 32 bytes of index.
//
// Invariants:
//   (1) each entry is in exactly one chain, that of BucketOf(its key).
//   (2) no two entries have equal keys.
//   (3) an entry is in the index exactly if its key has more than one code; half of the index or less is
//   full.
template <class Value>
class SVHashtable {
public:
  // One key with its value. The key must not be changed.
  struct Entry {
    template <class... Arguments>
    Entry(const SVKey& newKey, Arguments&&... arguments)
        : key(newKey), value(std::forward<Arguments>(arguments)...) {}

    SVKey key;
    Value value;
    Entry* next = nullptr;  // in the chain of the bucket
  };

  // Visits the buckets in ascending order, and each chain from its head: the newest entry first until the
  // table grows, which reverses the chains.
  class Iterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Entry;
    using difference_type = std::ptrdiff_t;
    using pointer = Entry*;
    using reference = Entry&;

    Iterator() = default;
    Iterator(const SVHashtable* table, std::size_t bucket) : fpTable(table), fBucket(bucket) { SkipEmpty(); }

    Entry& operator*() const { return *fpEntry; }
    Entry* operator->() const { return fpEntry; }
    Iterator& operator++() {
      fpEntry = fpEntry->next;
      if (fpEntry == nullptr) {
        ++fBucket;
        SkipEmpty();
      }
      return *this;
    }
    Iterator operator++(int) {
      Iterator before = *this;
      ++*this;
      return before;
    }
    bool operator==(const Iterator&) const = default;

  private:
    void SkipEmpty() {
      const std::vector<Entry*>& buckets = fpTable->fBuckets;
      while (fBucket < buckets.size() && buckets[fBucket] == nullptr) ++fBucket;
      fpEntry = fBucket < buckets.size() ? buckets[fBucket] : nullptr;
    }

    const SVHashtable* fpTable = nullptr;  // borrowed
    Entry* fpEntry = nullptr;              // null at the end
    std::size_t fBucket = 0;               // the number of buckets at the end
  };

  SVHashtable() = default;
  SVHashtable(const SVHashtable&) = delete;
  SVHashtable& operator=(const SVHashtable&) = delete;
  ~SVHashtable() {
    for (const Chunk& chunk : fChunks) std::destroy_n(chunk.First(), chunk.used);
  }

  // The entry of an equal key, or null. Allocates nothing.
  Entry* Find(const SVKey& key) const {
    if (IsIndexed(key)) return fvIndex.empty() ? nullptr : fvIndex[IndexSlot(key)];
    Entry* entry = fBuckets[BucketOf(key)];
    while (entry != nullptr && !(entry->key == key)) entry = entry->next;
    return entry;
  }

  // Adds a copy of `key` with a value constructed from `arguments`, at the head of its chain. Returns the new
  // entry, or null if an equal key is already there; in that case nothing is constructed or changed. The
  // table grows before the entry is added, not after: that too is part of the order.
  template <class... Arguments>
  Entry* Insert(const SVKey& key, Arguments&&... arguments) {
    if (Find(key) != nullptr) return nullptr;
    if (fCount >= fThreshold) Grow();
    Entry* entry = ::new (FreeSlot()) Entry(key, std::forward<Arguments>(arguments)...);
    ++fChunks.back().used;
    Link(entry);
    if (IsIndexed(key)) Index(entry);
    ++fCount;
    return entry;
  }

  std::int32_t Count() const { return fCount; }

  Iterator begin() const { return Iterator(this, 0); }  // Insert() invalidates iterators
  Iterator end() const { return Iterator(this, fBuckets.size()); }

private:
  static constexpr std::size_t kFirstBuckets = 89;  // fixed for ever, as is the next: see the head
  static constexpr float kLoadFactor = 0.75F;
  static constexpr std::size_t kMaxBuckets = std::numeric_limits<std::int32_t>::max();
  static constexpr std::size_t kFirstIndex = 64;
  static constexpr std::size_t kMinChunk = 4;  // entries
  static constexpr std::size_t kMaxChunk = 4096;

  // Raw storage for `capacity` entries, of which the first `used` have been constructed.
  struct Chunk {
    std::unique_ptr<std::byte[]> storage;
    std::size_t capacity = 0;
    std::size_t used = 0;

    Entry* First() const { return reinterpret_cast<Entry*>(storage.get()); }
  };

  // The remainder is taken unsigned: a large code makes the hash negative, and a signed remainder would then
  // be a negative index.
  std::size_t BucketOf(const SVKey& key) const {
    return static_cast<std::uint32_t>(key.Hash()) % static_cast<std::uint32_t>(fBuckets.size());
  }

  void Link(Entry* entry) {
    Entry*& head = fBuckets[BucketOf(entry->key)];
    entry->next = head;
    head = entry;
  }

  // Consecutive codes fall into different buckets, so a key of one code needs no index.
  static bool IsIndexed(const SVKey& key) { return key.Length() > 1; }

  // Multiplicative hashing by 2^64 divided by the golden ratio, as in [Knuth98], section 6.4. The upper half
  // of the product is the well mixed one, so it is folded into the lower half, which the mask keeps.
  // REQUIRES: the index isn't empty.
  std::size_t FirstSlot(const SVKey& key) const {
    std::uint64_t mixed = 0;
    for (std::int32_t i = 0; i < key.Length(); ++i) {
      mixed = (mixed ^ static_cast<std::uint32_t>(key[i])) * 0x9E3779B97F4A7C15U;
      mixed ^= mixed >> 32;
    }
    return mixed & (fvIndex.size() - 1);
  }

  // The slot that holds the key, or the free one where it belongs. Linear probing; it ends because at most
  // half of the slots are in use. REQUIRES: the index isn't empty.
  std::size_t IndexSlot(const SVKey& key) const {
    std::size_t slot = FirstSlot(key);
    while (fvIndex[slot] != nullptr && !(fvIndex[slot]->key == key)) slot = (slot + 1) & (fvIndex.size() - 1);
    return slot;
  }

  // Adds an entry to the index, which doubles when more than half of it would be in use. Moving entries to
  // the new slots needs no particular order: the index isn't iterated.
  void Index(Entry* entry) {
    if (++fIndexed > fvIndex.size() / 2) {
      std::vector<Entry*> old(std::max(kFirstIndex, 2 * fvIndex.size()), nullptr);
      old.swap(fvIndex);
      for (Entry* moved : old) {
        if (moved != nullptr) fvIndex[IndexSlot(moved->key)] = moved;
      }
    }
    fvIndex[IndexSlot(entry->key)] = entry;
  }

  // Raw memory for the next entry. A chunk holds as many entries as the table has so far, within limits, so
  // that small tables stay small and large ones allocate rarely.
  void* FreeSlot() {
    static_assert(alignof(Entry) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    if (fChunks.empty() || fChunks.back().used == fChunks.back().capacity) {
      const std::size_t capacity = std::clamp(static_cast<std::size_t>(fCount), kMinChunk, kMaxChunk);
      fChunks.push_back({std::unique_ptr<std::byte[]>(new std::byte[capacity * sizeof(Entry)]), capacity, 0});
    }
    return fChunks.back().First() + fChunks.back().used;
  }

  // Entries move bucket by bucket, each to the head of its new chain. Entries of one old chain that land in
  // the same new chain are therefore reversed. This looks like an oversight and must stay: samples depend on
  // it.
  void Grow() {
    const std::size_t size = 2 * fBuckets.size() + 1;
    if (size > kMaxBuckets) {  // from here on the chains only get longer
      fThreshold = std::numeric_limits<std::int32_t>::max();
      return;
    }
    std::vector<Entry*> old(size, nullptr);
    old.swap(fBuckets);
    fThreshold = static_cast<std::int32_t>(static_cast<float>(size) * kLoadFactor);
    for (Entry* head : old) {
      while (head != nullptr) {
        Entry* entry = std::exchange(head, head->next);
        Link(entry);
      }
    }
  }

  std::vector<Entry*> fBuckets = std::vector<Entry*>(kFirstBuckets, nullptr);  // chain heads, into the chunks
  std::int32_t fCount = 0;
  std::int32_t fThreshold = static_cast<std::int32_t>(kFirstBuckets * kLoadFactor);
  std::vector<Chunk> fChunks;
  std::vector<Entry*> fvIndex;  // entries of indexed keys, null for a free slot; its size is a power of two
  std::size_t fIndexed = 0;     // entries in fvIndex
};
