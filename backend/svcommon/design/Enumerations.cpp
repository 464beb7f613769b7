#include "backend/svcommon/design/Enumerations.h"

#include <array>
#include <cassert>

MethodType MethodOfSamplingType(std::int32_t samplingType) {
  switch (samplingType) {
    case kSamplingSimpleWor:
    case kSamplingSimpleWr:
    case kSamplingSimpleSystematic:
    case kSamplingSimpleChromy:
    case kSamplingPpsWor:
    case kSamplingPpsWr:
    case kSamplingPpsSystematic:
      return static_cast<MethodType>(samplingType);
    case kSamplingPpsChromy:
      return kMethodPpsChromy;
    case kSamplingPpsBrewer:
      return kMethodPpsBrewer;
    case kSamplingPpsMurthy:
      return kMethodPpsMurthy;
    case kSamplingPpsSampford:
      return kMethodPpsSampford;
    default:
      return kMethodNone;
  }
}

std::string_view OutputKindName(std::int32_t kind) {
  static constexpr std::array<std::string_view, kOutputKinds> kNames = {
      "INCLPROB", "CUMWEIGHT", "INDEX", "POPSIZE", "SAMPSIZE", "RATE", "WEIGHT",
  };
  assert(0 <= kind && kind < kOutputKinds);
  return kNames[static_cast<std::size_t>(kind)];
}
