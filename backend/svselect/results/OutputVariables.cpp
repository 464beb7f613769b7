#include "backend/svselect/results/OutputVariables.h"

#include <cassert>
#include <cstddef>

#include "backend/svcommon/design/Enumerations.h"
#include "host/model/KORV_DataSource.h"
#include "host/text/TextConversion.h"

namespace {

constexpr std::size_t kMaxNameSize = 64;  // bytes of a variable's name

// By OutputKind. Counts have no decimals; probabilities, rates and weights are shown with two.
constexpr OutputKindTraits kTraits[kOutputKinds] = {
    {"InclusionProbability", 2, 11901},
    {"SampleWeightCumulative", 2, 11902},
    {"Index", 0, 11903},
    {"PopulationSize", 0, 11904},
    {"SampleSize", 0, 11905},
    {"SamplingRate", 2, 11906},
    {"SampleWeight", 2, 11907},
    {"Certain", 0, 11909},
};

}  // namespace

const OutputKindTraits kFinalWeightTraits = {"SampleWeight_Final_", 2, 11908};

const OutputKindTraits& TraitsOfKind(std::int32_t kind) {
  assert(0 <= kind && kind < kOutputKinds);
  return kTraits[static_cast<std::size_t>(kind)];
}

// The number grows until a free name is found, which takes at most one more step than there are variables. If
// the number alone is longer than the limit, nothing can be cut, and the name stays too long: a limit that
// small doesn't occur.
std::string UniqueVariableName(const KORV_DataSource& source, const std::string& name, std::size_t limit) {
  const std::string joint = name.ends_with('_') ? "" : "_";
  std::string candidate = name;
  for (int k = 1; source.FindVarIndex(candidate, 0) >= 0; ++k) {
    const std::string suffix = joint + std::to_string(k) + "_";
    candidate = name + suffix;
    if (candidate.size() <= limit) continue;
    const std::size_t excess = candidate.size() - limit;
    if (excess > name.size()) continue;
    candidate = name.substr(0, KORVMBFindStart_A(name, name.size() - excess)) + suffix;
  }
  return candidate;
}

// No source of this host is a view of another file, so the first of the two renamings never happens here.
int FreeVariableName(KORV_DataSource& source, const std::string& name) {
  const int older = source.FindVarIndex(name, 0);
  if (older < 0) return older;
  const std::string unique = UniqueVariableName(source, name, kMaxNameSize);
  if (KORV_DataSource* parent = source.GetParentSource()) parent->GetVariable(older).SetName(unique);
  source.GetVariable(older).SetName(unique);
  return older;
}
