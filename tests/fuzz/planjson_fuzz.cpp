// Any bytes as a plan in JSON, and any as the table beside it; a line of two percent signs divides them. The
// plan is read or refused with a place; one that is read is the same plan when it is written in either form
// and read again.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Require.h"
#include "TestFolder.h"
#include "backend/svcommon/PlanAsText.h"
#include "backend/svcommon/PlanGaps.h"
#include "backend/svcommon/PlanInWords.h"
#include "backend/svcommon/PlanJsonReader.h"
#include "host/environment/HostSession.h"

namespace {

constexpr std::string_view kDivider = "\n%%\n";

void RequireSame(const SVPlanSpecs& plan, const std::string& path) {
  SVPlanSpecs again;
  Require(OpenPlan(path, &again)->readSamplePlan(path) == 0);
  Require(SaysTheSame(plan, again));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const HostSession session;
  static const TestFolder folder;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find(kDivider);
  const bool hasTable = end != std::string_view::npos;
  folder.Write("t.csv", std::string(hasTable ? input.substr(end + kDivider.size()) : "s,n\nA,1\n"));
  const std::string path = folder.Write("plan", std::string(input.substr(0, end)));

  SVPlanSpecs plan;
  PlanJsonReader reader(&plan);
  const int code = reader.readSamplePlan(path);
  const std::vector<std::string> faults = reader.Faults();
  Require((code == 0) == faults.empty());
  for (const std::string& fault : faults) {
    Require(fault.find(", line ") != std::string::npos || fault.starts_with("... and "));
  }
  if (code != 0) return 0;
  Require(PlanInWords(plan).size() >= 2);
  Require(PlanGaps(plan).empty());
  RequireSame(plan, folder.Write("again", PlanAsJson(plan)));
  if (XmlLacks(plan).empty()) RequireSame(plan, folder.Write("again", PlanAsXml(plan)));
  return 0;
}
