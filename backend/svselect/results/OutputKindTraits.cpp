#include "backend/svselect/results/OutputKindTraits.h"

#include <cassert>
#include <cstddef>

#include "backend/svcommon/design/Enumerations.h"

namespace {

constexpr OutputKindTraits kTraits[kOutputKinds] = {
    {"InclusionProbability", 2, 11901},
    {"SampleWeightCumulative", 2, 11902},
    {"Index", 0, 11903},
    {"PopulationSize", 0, 11904},
    {"SampleSize", 0, 11905},
    {"SamplingRate", 2, 11906},
    {"SampleWeight", 2, 11907},
};

}  // namespace

const OutputKindTraits kFinalWeightTraits = {"SampleWeight_Final_", 2, 11908};

const OutputKindTraits& TraitsOfKind(std::int32_t kind) {
  assert(0 <= kind && kind < kOutputKinds);
  return kTraits[static_cast<std::size_t>(kind)];
}
