#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

// AddedValues holds the values of one variable that was added to the active file, beside its cases. A case
// for which none was set has the system-missing value.
//
// Cost:       8 bytes a case where values were set, in pieces of 256 cases, so that a small sample from a
//             large frame needs little; next to nothing elsewhere.
class AddedValues {
public:
  double Get(std::int64_t row) const;
  void Set(std::int64_t row, double value);

private:
  static constexpr std::int64_t kPiece = 256;  // cases
  using Piece = std::array<double, kPiece>;

  std::vector<std::unique_ptr<Piece>> fvPieces;  // null where no value was set
};
