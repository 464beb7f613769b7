#include "host/data/AddedValues.h"

#include "host/numeric/MissingValue.h"

double AddedValues::Get(std::int64_t row) const {
  const auto piece = static_cast<std::size_t>(row / kPiece);
  if (piece >= fvPieces.size() || fvPieces[piece] == nullptr) return MCMV::gMissingValue;
  return (*fvPieces[piece])[static_cast<std::size_t>(row % kPiece)];
}

void AddedValues::Set(std::int64_t row, double value) {
  const auto piece = static_cast<std::size_t>(row / kPiece);
  if (piece >= fvPieces.size()) fvPieces.resize(piece + 1);
  if (fvPieces[piece] == nullptr) {
    fvPieces[piece] = std::make_unique<Piece>();
    fvPieces[piece]->fill(MCMV::gMissingValue);
  }
  (*fvPieces[piece])[static_cast<std::size_t>(row % kPiece)] = value;
}
