#pragma once

#include <absl/container/flat_hash_set.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/numeric/Obs.h"

class KORV_DataSource;

// ObsVecMap maps a key, the OBS cells of the values of some variables one behind the other, to a fixed number
// of value cells.
//
// Equality:   numbers compare as numbers (-0 equals 0), strings byte by byte over their cells.
// Lifetime:   an entry is its key cells with the value cells directly behind; it never moves while the map
//             lives.
// Cost:       Contains() is one probe of a hash table and allocates nothing; an entry takes its cells and
//             about 10 bytes of index.
class ObsVecMap {
public:
  // The layout of a key: per variable the width of the string, 0 for a number. Wider than 16 bits, since a
  // column of long texts is as wide as its longest.
  using KeySpec = std::vector<std::int32_t>;

  static KeySpec MakeKeySpec(const KORV_DataSource& source, const std::vector<std::int32_t>& variables);

  ObsVecMap(const KeySpec& keySpec, std::size_t valueCells);
  ObsVecMap(const ObsVecMap&) = delete;
  ObsVecMap& operator=(const ObsVecMap&) = delete;
  ~ObsVecMap();

  // Cells of one entry: key cells plus value cells.
  std::size_t CellSize() const { return fCellSize; }
  std::size_t Size() const { return fEntries.size(); }
  const KeySpec& GetKeySpec() const { return fKeySpec; }

  // The first value cell of the entry with the key in `key`; null when there is none.
  OBS* Contains(const OBS* key) const;

  // Adds an entry and gives its first value cell; the values are zero.
  // REQUIRES: there is no entry with this key.
  OBS* Insert(const OBS* key);

  // The entries, each by its first key cell, ascending in the order of the key's variables.
  std::vector<OBS*> Sort() const;

private:
  // Both read the kinds of the cells from the map, which therefore can't be copied or moved.
  struct KeyHash {
    const std::vector<std::uint8_t>* numeric;
    std::size_t operator()(const OBS* key) const;
  };
  struct KeyEqual {
    const std::vector<std::uint8_t>* numeric;
    bool operator()(const OBS* left, const OBS* right) const;
  };

  KeySpec fKeySpec;
  std::vector<std::uint8_t> fNumericCells;  // of each key cell, 1 when it is a number
  std::size_t fKeyCells;
  std::size_t fCellSize;
  std::size_t fChunkEntries;                    // entries of one chunk
  std::vector<std::unique_ptr<OBS[]>> fChunks;  // entries in the order of their insertion
  absl::flat_hash_set<OBS*, KeyHash, KeyEqual> fEntries;
};
