#include "host/text/DisplayText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

constexpr UChar32 kReplacement = 0xFFFD;

// Reads the character at `*at` and advances `*at` past it. Negative for a byte that starts no valid
// character.
UChar32 NextCharacter(std::string_view text, std::size_t* at) {
  // ICU takes 32-bit lengths, and a text may be longer. A window of one character is all it needs to see.
  const auto window = static_cast<std::int32_t>(std::min<std::size_t>(text.size() - *at, U8_MAX_LENGTH));
  const char* start = text.data() + *at;
  std::int32_t used = 0;
  UChar32 c = 0;
  U8_NEXT(start, used, window, c);
  *at += static_cast<std::size_t>(used);
  return c;
}

// Whether `c` is a vowel or final consonant of a decomposed Hangul syllable. The terminal draws it into the
// two columns that the first consonant has taken.
bool JoinsHangul(UChar32 c) {
  const int kind = u_getIntPropertyValue(c, UCHAR_HANGUL_SYLLABLE_TYPE);
  return kind == U_HST_VOWEL_JAMO || kind == U_HST_TRAILING_JAMO;
}

// Whether `c` turns the direction of the characters behind it around, so that a line shows what isn't in it.
bool TurnsText(UChar32 c) {
  return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

// The Unicode standard has no single rule for widths. This is the usual one of terminals: nothing for marks
// and format characters, two columns for East Asian Wide and Fullwidth (Unicode Standard Annex 11), else one.
// The soft hyphen is a format character by category, but terminals show it.
int CharacterWidth(UChar32 c) {
  if (c < 0 || TurnsText(c)) return 1;  // shown as U+FFFD
  if (c < 0x7F) return c < 0x20 ? 0 : 1;
  constexpr std::uint32_t kNoColumn = U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK | U_GC_CC_MASK;
  constexpr UChar32 kSoftHyphen = 0xAD;
  if ((U_GET_GC_MASK(c) & kNoColumn) != 0) return c == kSoftHyphen ? 1 : 0;
  if (JoinsHangul(c)) return 0;
  const int eastAsian = u_getIntPropertyValue(c, UCHAR_EAST_ASIAN_WIDTH);
  return eastAsian == U_EA_WIDE || eastAsian == U_EA_FULLWIDTH ? 2 : 1;
}

void Append(UChar32 c, std::string* text) {
  char bytes[U8_MAX_LENGTH];
  std::int32_t count = 0;
  U8_APPEND_UNSAFE(bytes, count, c);
  text->append(bytes, static_cast<std::size_t>(count));
}

// Length in bytes of the longest prefix of `text` that fits in `width`, but at least one character, so that
// WrapText() always makes progress.
std::size_t FittingBytes(std::string_view text, int width) {
  std::size_t fitting = 0;
  for (std::size_t at = 0; at < text.size();) {
    width -= CharacterWidth(NextCharacter(text, &at));
    if (width < 0 && fitting > 0) break;
    fitting = at;
  }
  return fitting;
}

}  // namespace

int DisplayWidth(std::string_view text) {
  int width = 0;
  for (std::size_t at = 0; at < text.size();) width += CharacterWidth(NextCharacter(text, &at));
  return width;
}

std::string PrintableText(std::string_view text) {
  std::string printable;
  printable.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const UChar32 c = NextCharacter(text, &at);
    if (c < 0 || TurnsText(c)) {
      Append(kReplacement, &printable);
    } else {
      Append(u_charType(c) == U_CONTROL_CHAR ? ' ' : c, &printable);
    }
  }
  return printable;
}

// Looks at the printable form, since a label of control characters alone shows nothing either.
std::string LabelText(std::string_view text) {
  std::string printable = PrintableText(text);
  return printable.find_first_not_of(' ') == std::string::npos ? "(blank)" : printable;
}

// Greedy: a word goes on the current line if it fits behind a blank, else it starts a new one. A word that is
// wider than a line is cut into full lines, and its rest goes on like a word of its own.
std::vector<std::string> WrapText(std::string_view text, int width) {
  if (DisplayWidth(text) <= width) return {std::string(text)};
  std::vector<std::string> lines(1);
  int used = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t blank = std::min(text.find(' ', at), text.size());
    std::string_view word = text.substr(at, blank - at);
    at = blank + 1;
    if (word.empty()) continue;
    int wordWidth = DisplayWidth(word);
    if (used > 0 && used + 1 + wordWidth <= width) {
      lines.back().append(1, ' ').append(word);
      used += 1 + wordWidth;
      continue;
    }
    if (used > 0) lines.emplace_back();
    while (wordWidth > width) {
      const std::size_t bytes = FittingBytes(word, width);
      if (bytes == word.size()) break;
      lines.back() = word.substr(0, bytes);
      wordWidth -= DisplayWidth(lines.back());  // measuring the rest each time would be quadratic
      lines.emplace_back();
      word.remove_prefix(bytes);
    }
    lines.back() = word;
    used = wordWidth;
  }
  return lines;
}
