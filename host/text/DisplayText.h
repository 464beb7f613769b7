#pragma once

#include <string>
#include <string_view>
#include <vector>

// Text on a terminal: how wide it is, what can be printed safely, where to break it.
//
// Units:  widths are columns of the terminal. A wide East Asian character takes two; combining marks, format
//         characters and control characters take none; a byte that isn't part of a UTF-8 character takes one,
//         since it is printed as U+FFFD. The rules are Unicode's, by the ICU library; a terminal with other
//         ideas, about emoji for instance, will show columns slightly out of line.
// Input:  any bytes. Nothing here fails.

int DisplayWidth(std::string_view text);

// `text` made safe to print within one line: control characters become blanks, so that no data value can move
// the cursor or change colours, and invalid bytes become U+FFFD; so do the characters by which a text could turn
// the direction of what follows.
std::string PrintableText(std::string_view text);

// PrintableText(), or "(blank)" when the result has only blanks: a row label that nobody can see looks like
// an error in the table.
std::string LabelText(std::string_view text);

// `text` broken into lines of at most `width` columns; at least one line. Breaks at blanks, and inside a word
// only when the word alone is wider than a line. A text that fits is returned unchanged, including its runs
// of blanks; otherwise blanks at a break are dropped and runs of blanks become one. A single character wider
// than `width` gets a line of its own, too wide as it is. REQUIRES: width > 0. Cost: linear in the text, also
// when it is one word of megabytes.
std::vector<std::string> WrapText(std::string_view text, int width);
