#pragma once

#include <cstddef>

// The host's catalogue of numbered texts. A text with an insertion has ^1 where it goes.

inline constexpr std::size_t kCatalogueTextSize = 256;  // bytes of the buffer, the closing null among them

// Puts the text of message `number` in `buffer` as it stands in the catalogue; an unknown number has an empty
// text.
void ERRTXN(int number, char (&buffer)[kCatalogueTextSize]);

// The same with ^1 replaced by `insertion`. What doesn't fit in the buffer is cut.
void GETTXM(int number, const char* insertion, char (&buffer)[kCatalogueTextSize]);
