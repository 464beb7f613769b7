#pragma once

#include <cstdint>

// What all output variables of a kind have in common.
struct OutputKindTraits {
  const char* stem;  // of the name that the notes give it
  int decimals;
  int labelMessage;  // number of the label in the host's catalogue
};

// REQUIRES: `kind` is an OutputKind.
const OutputKindTraits& TraitsOfKind(std::int32_t kind);

// The final weight belongs to no stage, so it is none of the kinds.
extern const OutputKindTraits kFinalWeightTraits;
