#include "backend/svcommon/design/Enumerations.h"

#include <array>
#include <cassert>

std::string_view OutputKindName(std::int32_t kind) {
  static constexpr std::array<std::string_view, kOutputKinds> kNames = {
      "INCLPROB", "CUMWEIGHT", "INDEX", "POPSIZE", "SAMPSIZE", "RATE", "WEIGHT", "CERTAIN",
  };
  assert(0 <= kind && kind < kOutputKinds);
  return kNames[static_cast<std::size_t>(kind)];
}
