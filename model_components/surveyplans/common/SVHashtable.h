#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "model_components/surveyplans/common/SVKey.h"

// SVHashtable maps keys to values: the strata of a stage, the units of a stratum.
//
// It is a chained table of our own because its iteration order is part of what a run does: strata are drawn
// in that order, so it decides which random numbers a stratum gets. The order depends on the keys, on the
// number of buckets and on the history of growth, and on nothing of the machine.
//
// Ownership:  owns keys and values. They stand in the entries, and entries stand in chunks; a key of one or
//             two codes costs no allocation of its own. An entry never moves and nothing is ever erased, so
//             that pointers to entries, keys and values are good until the table dies.
// Threads:    const methods may run in parallel; Insert() needs exclusive access.
// Cost:       Find() and Insert() are O(1) expected; a unit of four doubles costs 56 bytes and its share of
//             the buckets, at most 8 * 2 / kLoadFactor bytes.
template <class Value>
class SVHashtable {
public:
  struct Entry {
    template <class... Arguments>
    Entry(const SVKey& newKey, Arguments&&... arguments)
        : key(newKey), value(std::forward<Arguments>(arguments)...) {}

    SVKey key;
    Value value;
    Entry* next = nullptr;  // in the chain of the bucket
  };

  // Goes through the buckets in ascending order, and through each chain from its head.
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

  // Hints for a Find() to come, which waits for memory twice, at the place in the table and at the entry
  // there: each asks for one of the two and returns at once. PrefetchEntry() reads the place.
  void PrefetchPlace(const SVKey& key) const { __builtin_prefetch(Place(key)); }
  void PrefetchEntry(const SVKey& key) const {
    if (Entry* const* place = Place(key)) __builtin_prefetch(*place);
  }

  // Enters a copy of `key` with a value made of `arguments`, at the head of its chain. Gives the new entry,
  // or null if there is one of an equal key; then the table is unchanged and no value was made.
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
  std::int32_t RehashCount() const { return fRehashCount; }  // how often the table has grown

  // Any change of the table ends the life of its iterators.
  Iterator begin() const { return Iterator(this, 0); }
  Iterator end() const { return Iterator(this, fBuckets.size()); }

  // Diagnostic listing, in iteration order, with the values' own Display.
  void Display(std::FILE* out) const {
    std::fputs("Start of Hashtable.\n", out);
    for (std::size_t bucket = 0; bucket < fBuckets.size(); ++bucket) {
      if (fBuckets[bucket] == nullptr) continue;
      std::fprintf(out, "Bucket %d :", static_cast<int>(bucket));
      for (const Entry* entry = fBuckets[bucket]; entry != nullptr; entry = entry->next) {
        entry->key.Display(out);
        entry->value.Display(out);
      }
    }
    std::fputs("End of Hashtable.\n", out);
  }

private:
  static constexpr std::size_t kFirstBuckets = 89;
  static constexpr float kLoadFactor = 0.75F;
  static constexpr std::size_t kMaxBuckets = std::numeric_limits<std::int32_t>::max();
  static constexpr std::size_t kFirstIndex = 64;
  static constexpr std::size_t kMinChunk = 4;  // a stratum of few units shall not pay for many
  static constexpr std::size_t kMaxChunk = 4096;

  // Storage of entries, the first `used` of them alive.
  struct Chunk {
    std::unique_ptr<std::byte[]> storage;
    std::size_t capacity = 0;
    std::size_t used = 0;

    Entry* First() const { return reinterpret_cast<Entry*>(storage.get()); }
  };

  // Unsigned, so that no key can leave the table: a large code makes the hash negative.
  std::size_t BucketOf(const SVKey& key) const {
    return static_cast<std::uint32_t>(key.Hash()) % static_cast<std::uint32_t>(fBuckets.size());
  }

  void Link(Entry* entry) {
    Entry*& head = fBuckets[BucketOf(entry->key)];
    entry->next = head;
    head = entry;
  }

  static bool IsIndexed(const SVKey& key) { return key.Length() > 1; }

  // Where a search for the key begins; null while the index is empty.
  Entry* const* Place(const SVKey& key) const {
    if (!IsIndexed(key)) return &fBuckets[BucketOf(key)];
    return fvIndex.empty() ? nullptr : &fvIndex[FirstSlot(key)];
  }

  // REQUIRES: the index isn't empty.
  std::size_t FirstSlot(const SVKey& key) const {
    std::uint64_t mixed = 0;
    for (std::int32_t i = 0; i < key.Length(); ++i) {
      mixed = (mixed ^ static_cast<std::uint32_t>(key[i])) * 0x9E3779B97F4A7C15U;  // 2^64 by the golden ratio
      mixed ^= mixed >> 32;
    }
    return mixed & (fvIndex.size() - 1);
  }

  // Where the key stands in the index, or would stand: linear probing, at most half of the slots in use, so
  // there is always a free one to end at. REQUIRES: the index isn't empty.
  std::size_t IndexSlot(const SVKey& key) const {
    std::size_t slot = FirstSlot(key);
    while (fvIndex[slot] != nullptr && !(fvIndex[slot]->key == key)) slot = (slot + 1) & (fvIndex.size() - 1);
    return slot;
  }

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

  // The place of the next entry. Chunks grow with the table.
  void* FreeSlot() {
    static_assert(alignof(Entry) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    if (fChunks.empty() || fChunks.back().used == fChunks.back().capacity) {
      const std::size_t capacity = std::clamp(static_cast<std::size_t>(fCount), kMinChunk, kMaxChunk);
      fChunks.push_back({std::unique_ptr<std::byte[]>(new std::byte[capacity * sizeof(Entry)]), capacity, 0});
    }
    return fChunks.back().First() + fChunks.back().used;
  }

  // Entries move chain by chain, each to the head of its new chain, so that those of one old chain come to
  // stand in reversed order.
  void Grow() {
    const std::size_t size = 2 * fBuckets.size() + 1;
    if (size > kMaxBuckets) {  // the table goes on with longer chains
      fThreshold = std::numeric_limits<std::int32_t>::max();
      return;
    }
    std::vector<Entry*> old(size, nullptr);
    old.swap(fBuckets);
    ++fRehashCount;
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
  std::int32_t fRehashCount = 0;
  std::vector<Chunk> fChunks;
  std::vector<Entry*> fvIndex;  // the entries of indexed keys; null is a free slot; the size is a power of 2
  std::size_t fIndexed = 0;     // entries in it
};
