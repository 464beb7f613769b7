#pragma once

#include <string>
#include <string_view>
#include <vector>

// How UTF-8 text stands on a terminal. Units are its columns: wide East Asian characters take two, combining
// marks and format characters none, a byte that belongs to no character one.

int DisplayWidth(std::string_view text);

// `text` fit to stand within a line: control characters become blanks, bytes that belong to no character
// U+FFFD.
std::string PrintableText(std::string_view text);

// The same for a label that stands alone: "(blank)" where there is nothing to see.
std::string LabelText(std::string_view text);

// `text` in lines of at most `width` columns, at least one line. Lines are broken at blanks, and within a
// word only when it is longer than a line. A text that fits is left as it is; a character wider than `width`
// stands alone. REQUIRES: width > 0.
std::vector<std::string> WrapText(std::string_view text, int width);
