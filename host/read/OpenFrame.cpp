#include "host/read/OpenFrame.h"

#include <fmt/format.h>

#include <utility>

#include "host/engine/ActiveFile.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/read/ArrowFrame.h"
#include "host/read/DataFile.h"

namespace {

// The place of a variable in the frame's dictionary; `purpose` is a verb for the error.
int FindVariable(const DataFrame& frame, const std::string& name, const char* purpose) {
  const int index = frame.dictionary.Find(name);
  if (index >= 0) return index;
  throw DataError(fmt::format("{}: there is no variable \"{}\" to {} by", frame.name, name, purpose));
}

int FindWeight(const DataFrame& frame, const std::string& name) {
  const int index = FindVariable(frame, name, "weight");
  if (frame.dictionary.variables[static_cast<std::size_t>(index)].GetType() == 0) return index;
  throw DataError(fmt::format("{}: the weight \"{}\" is no numeric variable", frame.name, name));
}

}  // namespace

void OpenFrame(HostSession& session, const FrameOptions& options) {
  ActiveFile& file = session.Layer<ActiveFile>();
  file.Close();  // also what it holds in the work database, before the next file needs the room
  const FrameRules rules{.schema = options.schema, .sort = options.sort, .serpentine = options.serpentine};
  DataFrame frame = options.arrow != nullptr ? options.arrow->Open(rules)
                    : options.sql.empty()    ? OpenDataFile(session, options.path, rules)
                                             : OpenQuery(session, options.sql, rules);
  std::vector<int> split;
  for (const std::string& name : options.split) split.push_back(FindVariable(frame, name, "split"));
  const int weight = options.weight.empty() ? -1 : FindWeight(frame, options.weight);

  pvGetCmnGlb()->weightVariable = weight + 1;  // counts from 1; 0 means none
  pvGetCmnGlb()->splitCount = static_cast<int>(split.size());
  file.Open(std::move(frame), std::move(split));
}
