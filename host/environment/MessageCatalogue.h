#pragma once

#include <cstddef>

// The host's catalogue of numbered texts. This host needs only the labels of the variables that a sample file
// adds, numbers 11901 to 11909. A text may contain one placeholder, ^1.
//
// Both functions fill the caller's buffer, null-terminated, and truncate a text that is too long; an unknown
// number gives an empty text. There is no error return.

inline constexpr std::size_t kCatalogueTextSize = 256;  // bytes, including the terminating null

// Copies text `number` unchanged; a ^1 in it is kept.
void ERRTXN(int number, char (&buffer)[kCatalogueTextSize]);

// Copies text `number` with its ^1 replaced by `insertion`.
void GETTXM(int number, const char* insertion, char (&buffer)[kCatalogueTextSize]);
