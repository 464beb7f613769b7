#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

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

class KORV_DataSource;

// A name that no variable of `source` has: `name` itself if it is free, else the first free one of name_1_,
// name_2_ and so on; a name that ends with an underscore gets no second one. Where that would be longer than
// `limit` bytes, the name is cut at the start of a character.
std::string UniqueVariableName(const KORV_DataSource& source, const std::string& name, std::size_t limit);

// Makes `name` free for a new variable: an older one of that name gives way to a unique name, in the file
// below a view first. The index of the older variable; negative when there is none.
int FreeVariableName(KORV_DataSource& source, const std::string& name);
