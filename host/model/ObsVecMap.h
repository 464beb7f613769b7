#pragma once

#include <absl/container/flat_hash_set.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/numeric/Obs.h"

class KORV_DataSource;

// ObsVecMap is a hash table from a combination of data values to a row of cells: for instance from stratum
// variables to the sample size of the stratum. Keys have the layout that values have in a case, so a case can
// be looked up without converting anything.
//
// Use:        construct with the widths of the key variables, Insert() all entries, then Contains() per case.
// Equality:   numbers as numbers (-0 equals 0); strings byte by byte, with the padding of their last cell.
// Ownership:  owns the entries. An entry is its key cells directly followed by its value cells, and never
//             moves, so pointers from Insert(), Contains() and Sort() are valid as long as the map.
// Threads:    const methods may run in parallel.
// Cost:       Contains() is one expected probe and allocates nothing. An entry takes its cells, plus 10 to
//             20 bytes for the index.
// Order:      the only iteration is Sort(), so nothing ever depends on the hash function.
class ObsVecMap {
public:
  // Layout of a key: for each variable its type, i.e. the string's width in bytes, or 0 for a number. 32
  // bits, because a string is as wide as the longest text in its column.
  using KeySpec = std::vector<std::int32_t>;

  static KeySpec MakeKeySpec(const KORV_DataSource& source, const std::vector<std::int32_t>& variables);

  ObsVecMap(const KeySpec& keySpec, std::size_t valueCells);
  ObsVecMap(const ObsVecMap&) = delete;
  ObsVecMap& operator=(const ObsVecMap&) = delete;
  ~ObsVecMap();

  // Cells of one entry, key and values together.
  std::size_t CellSize() const { return fCellSize; }
  std::size_t Size() const { return fEntries.size(); }
  const KeySpec& GetKeySpec() const { return fKeySpec; }

  // The value cells of the entry with this key; null if not found.
  OBS* Contains(const OBS* key) const;

  // Adds an entry with a copy of `key` and returns its value cells, all zero.
  // REQUIRES: Contains(key) == nullptr.
  OBS* Insert(const OBS* key);

  // All entries (pointers to their first key cell), ordered by the first key variable, then the second, and
  // so on; numbers by value, strings by their bytes.
  std::vector<OBS*> Sort() const;

private:
  // Both point into the map, at fNumericCells. That is why the map can be neither copied nor moved.
  struct KeyHash {
    const std::vector<std::uint8_t>* numeric;
    std::size_t operator()(const OBS* key) const;
  };
  struct KeyEqual {
    const std::vector<std::uint8_t>* numeric;
    bool operator()(const OBS* left, const OBS* right) const;
  };

  KeySpec fKeySpec;
  std::vector<std::uint8_t> fNumericCells;  // for each key cell, 1 if it holds a number
  std::size_t fKeyCells;
  std::size_t fCellSize;
  std::size_t fChunkEntries;                    // entries per chunk
  std::vector<std::unique_ptr<OBS[]>> fChunks;  // the entries, in order of insertion
  absl::flat_hash_set<OBS*, KeyHash, KeyEqual> fEntries;
};
