#include "host/read/OpenFrame.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

#include "host/engine/DuckCaseEngine.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostErrors.h"
#include "host/read/DataFile.h"

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
  file.Close();
  DataFrame frame = options.sql.empty() ? OpenDataFile(options.path, options.schema)
                                        : OpenQuery(options.sql, options.schema);
  if (!options.sort.empty()) frame = SortFrame(frame, options.sort);
  std::vector<int> split;
  for (const std::string& name : options.split) split.push_back(FindVariable(frame, name, "split"));
  const int weight = options.weight.empty() ? -1 : FindWeight(frame, options.weight);

  auto engine = std::make_unique<DuckCaseEngine>(frame);
  file.Open(frame.relation.name, std::move(frame.dictionary), std::move(engine), std::move(split));
  pvGetCmnGlb()->weightVariable = weight + 1;
  pvGetCmnGlb()->splitCount = static_cast<int>(file.SplitColumns().size());
}
