#include "host/engine/ActiveFile.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/SessionFiles.h"
#include "host/numeric/Obs.h"

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

ActiveFile& ActiveFile::Current() {
  HostSession::Current().Layer<WorkDatabase>();  // made first, so that it outlives the cursors on it
  return HostSession::Current().Layer<ActiveFile>();
}

void ActiveFile::Open(std::string name, Dictionary dictionary, std::unique_ptr<CaseEngine> engine,
                      std::vector<int> split) {
  Close();
  fName = std::move(name);
  fServedColumns = static_cast<int>(dictionary.variables.size());
  fpDictionary = std::make_shared<Dictionary>(std::move(dictionary));
  fpEngine = std::move(engine);
  fvSplit = std::move(split);
}

AddedValues& ActiveFile::Added(int column) {
  assert(column >= fServedColumns);
  const auto place = static_cast<std::size_t>(column - fServedColumns);
  if (place >= fvAdded.size()) fvAdded.resize(place + 1);
  return fvAdded[place];
}

void ActiveFile::NoteCopied(const std::string& name) {
  if (!IsOpen()) return;
  const int column = fpDictionary->Find(name);
  if (column < 0 || column >= fServedColumns) return;
  const auto at = std::lower_bound(fvCopied.begin(), fvCopied.end(), column);
  if (at == fvCopied.end() || *at != column) fvCopied.insert(at, column);
}

void ActiveFile::Fail(const std::string& message) {
  // What a stop request breaks off has no fault to tell, and a store that failed has told its own: DuckDB
  // then refuses to read on.
  const bool isAftermath = StopRequested() || SessionFiles::Current().IsBroken();
  if (!fbFailed && !isAftermath) IssueHostMessage(message, kErrorLevel);
  fbFailed = true;
}
