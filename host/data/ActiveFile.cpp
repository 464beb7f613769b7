#include "host/data/ActiveFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <cassert>

#include "host/data/DataFile.h"
#include "host/data/DuckCaseEngine.h"
#include "host/data/DuckDb.h"
#include "host/data/SessionFiles.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/ErrorSink.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"

namespace {

int FindVariable(const DataFrame& frame, const std::string& name, const char* purpose) {
  const int index = frame.dictionary.Find(name);
  if (index >= 0) return index;
  throw DataError(
      fmt::format("{}: there is no variable \"{}\" to {} by", frame.relation.name, name, purpose));
}

int FindWeight(const DataFrame& frame, const std::string& name) {
  const int index = FindVariable(frame, name, "weight");
  if (frame.dictionary.variables[static_cast<std::size_t>(index)].GetType() == 0) return index;
  throw DataError(fmt::format("{}: the weight \"{}\" is no numeric variable", frame.relation.name, name));
}

}  // namespace

void OpenFrame(const FrameOptions& options) {
  ActiveFile& file = ActiveFile::Current();
  file = ActiveFile();
  DataFrame frame = options.sql.empty() ? OpenDataFile(options.path, options.schema)
                                        : OpenQuery(options.sql, options.schema);
  if (!options.sort.empty()) frame = SortFrame(frame, options.sort);
  std::vector<int> split;
  for (const std::string& name : options.split) split.push_back(FindVariable(frame, name, "split"));
  const int weight = options.weight.empty() ? -1 : FindWeight(frame, options.weight);

  file.fpEngine = std::make_unique<DuckCaseEngine>(frame);
  file.fName = frame.relation.name;
  file.fServedColumns = static_cast<int>(frame.dictionary.variables.size());
  file.fpDictionary = std::make_shared<Dictionary>(std::move(frame.dictionary));
  file.fvSplit = std::move(split);
  pvGetCmnGlb()->weightVariable = weight + 1;
  pvGetCmnGlb()->splitCount = static_cast<int>(file.fvSplit.size());
}

ActiveFile& ActiveFile::Current() {
  HostSession::Current().Layer<WorkDatabase>();  // made first, so that it outlives the cursors on it
  return HostSession::Current().Layer<ActiveFile>();
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
