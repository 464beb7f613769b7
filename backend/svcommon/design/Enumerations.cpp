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

std::string_view MethodTypeText(std::int32_t method) {
  static constexpr std::array<std::string_view, 12> kTexts = {
      "method not defined",
      "without replacement selection and equal probabilities",
      "with replacement selection and equal probabilities",
      "fixed interval selection and random starting point",
      "without replacement sequential selection and equal probabilities",
      "without replacement selection and probability proportional to size",
      "with replacement selection and probability proportional to size",
      "without replacement systematic random selection and probability proportional to size",
      "without replacement sequential selection and probability proportional to size",
      "Brewer selection of two units within each stratum and probability proportional to size",
      "Murthy selection of two units within each stratum and probability proportional to size",
      "extention of Brewer's method selecting more than two units from each stratum",
  };
  const auto index = static_cast<std::uint32_t>(method);
  return index < kTexts.size() ? kTexts[index] : "unrecognized";
}

std::string_view OutputKindName(std::int32_t kind) {
  static constexpr std::array<std::string_view, kOutputKinds> kNames = {
      "INCLPROB", "CUMWEIGHT", "INDEX", "POPSIZE", "SAMPSIZE", "RATE", "WEIGHT",
  };
  assert(0 <= kind && kind < kOutputKinds);
  return kNames[static_cast<std::size_t>(kind)];
}
