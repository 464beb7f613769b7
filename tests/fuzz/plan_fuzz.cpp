// Any bytes as a plan file: it is read or told by a code, by both readers, and what is read can be told.

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "Require.h"
#include "backend/svcommon/PlanInWords.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "host/environment/HostSession.h"

namespace {

// A file of memory, which the reader finds by its path.
struct MemoryFile {
  int descriptor = memfd_create("plan", MFD_CLOEXEC);
  std::string path = "/proc/self/fd/" + std::to_string(descriptor);

  void Set(const std::uint8_t* data, std::size_t size) const {
    Require(ftruncate(descriptor, 0) == 0);
    Require(pwrite(descriptor, data, size, 0) == static_cast<ssize_t>(size));
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const HostSession session;
  static const MemoryFile file;
  file.Set(data, size);
  SVPlanSpecs sample;
  const int code = SV_XML::PlanXmlReader(&sample).readSamplePlan(file.path);
  Require(code >= 0 && code <= 23 && code != 3);
  Require(code == 1 || sample.isSampleMode());
  if (code == 0) Require(PlanInWords(sample).size() >= 2);
  for (const SVPlanStageSpecs& stage : sample.stages) {
    Require(stage.designVariableNames.size() <= stage.clusterVariables.size());
  }

  SVPlanSpecs analysis;
  const int analysisCode = SV_XML::PlanXmlReader(&analysis).readAnalysisPlan(file.path);
  Require(analysisCode >= 0 && analysisCode <= 24);
  Require((analysisCode == 1) || analysis.mode == kAnalysisMode);
  return 0;
}
