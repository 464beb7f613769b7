#include "host/engine/ActiveFile.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "host/engine/CaseProgress.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/SessionFiles.h"
#include "host/numeric/Obs.h"

// The pieces end at the last row that was set.
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

ActiveFile::ActiveFile(HostSession& session)
    : fFiles(session.Layer<SessionFiles>()), fProgress(session.Layer<CaseProgress>()) {}

ActiveFile& ActiveFile::Current() {
  return HostSession::Current().Layer<ActiveFile>();
}

// The dictionary becomes shared, since sources that attach to the file keep it.
void ActiveFile::Open(DataFrame frame, std::vector<int> split) {
  Close();
  fOpen.servedColumns = static_cast<int>(frame.dictionary.variables.size());
  fOpen.dictionary = std::make_shared<Dictionary>(std::move(frame.dictionary));
  fOpen.frame = std::move(frame);
  fOpen.split = std::move(split);
}

AddedValues& ActiveFile::Added(int column) {
  assert(column >= fOpen.servedColumns);
  const auto place = static_cast<std::size_t>(column - fOpen.servedColumns);
  if (place >= fOpen.added.size()) fOpen.added.resize(place + 1);
  return fOpen.added[place];
}

// Outputs have variables of their own too, so an unknown name is no fault.
void ActiveFile::NoteCopied(const std::string& name) {
  if (!IsOpen()) return;
  const int column = fOpen.dictionary->Find(name);
  if (column < 0 || column >= fOpen.servedColumns) return;
  const auto at = std::lower_bound(fOpen.copied.begin(), fOpen.copied.end(), column);
  if (at == fOpen.copied.end() || *at != column) fOpen.copied.insert(at, column);
}

void ActiveFile::SetLastPass() {
  fOpen.isLastPass = true;
  fProgress.SetLastPass();
}

void ActiveFile::Fail(const std::string& message) {
  // Two kinds of failure are only consequences. After a stop request DuckDB reports an interrupted query, and
  // after a store has failed, and reported it, DuckDB may refuse to read on.
  const bool isAftermath = StopRequested() || fFiles.IsBroken();
  if (!fOpen.hasFailed && !isAftermath) IssueHostMessage(message, kErrorLevel);
  fOpen.hasFailed = true;
}
