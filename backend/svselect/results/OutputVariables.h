#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

class KORV_DataSource;

// The variables that a run adds to the sample or to the active file: what they look like, and how each gets a
// name that is free.

// What all output variables of one kind have in common.
struct OutputKindTraits {
  const char* stem;  // of the label in the notes
  int decimals;      // shown by the variable's format; the value itself isn't rounded
  int labelMessage;  // number of the variable label in the host's catalogue of texts
};

// The traits of a kind; they live as long as the program. REQUIRES: `kind` is an OutputKind.
const OutputKindTraits& TraitsOfKind(std::int32_t kind);

// The final weight belongs to no stage, so it isn't one of the kinds.
extern const OutputKindTraits kFinalWeightTraits;

// A name that no variable of `source` has: `name` itself if it is free, else the first free one of name_1_,
// name_2_ and so on. A name that ends in an underscore doesn't get a second one: w_ becomes w_1_. If the
// result would be longer than `limit` bytes, the name is shortened, at a boundary between characters, not the
// number.
std::string UniqueVariableName(const KORV_DataSource& source, const std::string& name, std::size_t limit);

// Makes `name` available for a new variable: an older variable of that name is renamed to a unique one. If
// `source` is a view of another file, the variable there is renamed too. Returns the index of the older
// variable; negative if there was none.
int FreeVariableName(KORV_DataSource& source, const std::string& name);
