#pragma once

// Labels of notes that readers of the document look for. The wording is laid down.
namespace NoteLabels {

inline constexpr const char* kSeed = "Random Number Seed";

}  // namespace NoteLabels
