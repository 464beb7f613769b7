#include "host/model/Values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "host/model/Dictionary.h"
#include "host/numeric/Obs.h"

// How a number is displayed in a format of width w with d decimals. The first text that fits in w wins:
//
//   1. d decimals, "-0.25", or without the zero in front of the full stop, "-.25".
//   2. Fewer decimals, one less each time, down to none. A step is skipped when it would display a number
//      that isn't zero as zero.
//   3. An exponent, with as many decimals as fit, "1.25e7".
//   4. Asterisks: w of them. A number that is cut off would be read as a different number.
//
// So a number on display is always the true one, correctly rounded to the digits shown. A zero never has a
// sign. All conversions use std::to_chars and std::from_chars. They don't depend on the locale, are exact (a
// decimal text is rounded from the exact binary value, with no intermediate rounding), and without a
// precision to_chars gives the shortest text that reads back to the same double.

namespace {

// Longest result of FixedText(): sign, 309 digits before the full stop, the full stop, and all the decimals
// that the 8 bits of a format can ask for.
constexpr std::size_t kLongestFixed = 309 + 2 + std::numeric_limits<std::uint8_t>::max() + 1;

// NumberText() uses an exponent from here up, and below the second bound.
constexpr double kExponentFrom = 1e17;
constexpr double kExponentBelow = 1e-5;

bool IsZeroText(std::string_view digits) {
  return digits.find_first_of("123456789") == std::string_view::npos;
}

// Rule 1 for one number of decimals. Empty when it doesn't fit.
std::string FixedText(double number, int decimals, std::size_t width) {
  char digits[kLongestFixed];
  const auto written =
      std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, decimals);
  std::string text(digits, written.ptr);
  if (text[0] == '-' && IsZeroText(text)) text.erase(0, 1);
  const std::size_t first = text[0] == '-' ? 1 : 0;
  if (text.size() > width && text.compare(first, 2, "0.") == 0) text.erase(first, 1);
  return text.size() <= width ? text : std::string();
}

// Rule 3. to_chars writes exponents like e+07; the plus and the leading zeros are removed to make room for
// digits. 16 decimals are 17 digits, which tell any two doubles apart. Empty when nothing fits.
std::string ExponentText(double number, std::size_t width) {
  for (int decimals = static_cast<int>(std::min<std::size_t>(width, 16)); decimals >= 0; --decimals) {
    char digits[kNumberTextSize];
    const auto written =
        std::to_chars(digits, digits + sizeof digits, number, std::chars_format::scientific, decimals);
    std::string text(digits, written.ptr);
    std::size_t exponent = text.find('e') + 1;
    if (text[exponent] == '+') {
      text.erase(exponent, 1);
    } else {
      ++exponent;  // keep the minus
    }
    while (text[exponent] == '0' && exponent + 1 < text.size()) text.erase(exponent, 1);
    if (text.size() <= width) return text;
  }
  return std::string();
}

std::string NumberInWidth(double number, const KORV_Format& format) {
  for (int decimals = format.decimals; decimals >= 0; --decimals) {
    std::string text = FixedText(number, decimals, format.width);
    // Rule 2 applies to lost decimals only: a number that is zero at the format's own precision is shown as
    // 0.
    const bool isCut = decimals < format.decimals;
    if (!text.empty() && !(isCut && number != 0.0 && IsZeroText(text))) return text;
  }
  std::string text = ExponentText(number, format.width);
  return text.empty() ? std::string(format.width, '*') : text;
}

int HexDigit(char c) {
  if ('0' <= c && c <= '9') return c - '0';
  if ('A' <= c && c <= 'F') return c - 'A' + 10;
  if ('a' <= c && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Two digits per byte. An odd width has room for one digit more, which is left out.
void WriteHex(const char* bytes, std::size_t width, char* buffer) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  for (std::size_t i = 0; i + 1 < width; i += 2) {
    const auto byte = static_cast<unsigned char>(bytes[i / 2]);
    buffer[i] = kDigits[byte >> 4];
    buffer[i + 1] = kDigits[byte & 15];
  }
  buffer[width / 2 * 2] = '\0';
}

bool ReadHex(std::string_view text, std::string* bytes) {
  if (text.size() % 2 != 0) return false;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = HexDigit(text[i]);
    const int low = HexDigit(text[i + 1]);
    if (high < 0 || low < 0) return false;
    *bytes += static_cast<char>(high * 16 + low);
  }
  return true;
}

// Stores `text` in a string value of `width` bytes, padding to the end of the last cell: whole cells are
// hashed and compared. REQUIRES: text.size() <= width.
void StoreText(std::string_view text, std::size_t width, OBS* cells) {
  auto* bytes = reinterpret_cast<char*>(cells);
  std::memcpy(bytes, text.data(), text.size());
  std::memset(bytes + text.size(), ' ', ObsCells(static_cast<int>(width)) * sizeof(OBS) - text.size());
}

std::string_view TrimBoth(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string_view::npos ? std::string_view() : TrimRight(text.substr(first));
}

}  // namespace

std::string_view TrimRight(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

int ToString(const OBS* cells, const KORV_Format& format, char* buffer) {
  const auto* bytes = reinterpret_cast<const char*>(cells);
  if (format.type == kFormatA) {
    const std::string_view text = TrimRight({bytes, format.width});
    const std::size_t length = std::max<std::size_t>(text.size(), std::min<int>(format.width, 1));
    std::memcpy(buffer, bytes, length);
    buffer[length] = '\0';
    return 0;
  }
  if (format.type == kFormatAHex) {
    WriteHex(bytes, format.width, buffer);
    return 0;
  }
  const double number = cells->number;
  const bool isMissing = number == MCMV::gMissingValue || !std::isfinite(number);
  const std::string text =
      isMissing ? std::string(std::min<int>(format.width, 1), '.') : NumberInWidth(number, format);
  const std::size_t blanks = format.width - text.size();
  std::memset(buffer, ' ', blanks);
  std::memcpy(buffer + blanks, text.c_str(), text.size() + 1);
  return 0;
}

// Everything is checked before the first byte is stored, so that a bad text leaves the cells alone.
int FromString(std::string_view text, const KORV_Format& format, OBS* cells) {
  constexpr int kNoValue = 1;
  if (format.type == kFormatA || format.type == kFormatAHex) {
    std::string bytes(TrimRight(text));
    if (format.type == kFormatAHex) {
      const std::string digits = std::move(bytes);
      bytes.clear();
      if (!ReadHex(digits, &bytes)) return kNoValue;
    }
    const std::size_t width = format.type == kFormatA ? format.width : format.width / 2;
    if (bytes.size() > width) return kNoValue;
    StoreText(bytes, width, cells);
    return 0;
  }
  const std::string_view trimmed = TrimBoth(text);
  if (trimmed.empty() || trimmed == ".") {
    cells->number = MCMV::gMissingValue;
    return 0;
  }
  return ParseNumber(trimmed, &cells->number) ? 0 : kNoValue;
}

bool FormatSuits(const KORV_Format& format, int type) {
  if (format.width == 0) return false;
  if (format.type == kFormatA) return format.width <= type;
  if (format.type == kFormatAHex) return format.width % 2 == 0 && format.width / 2 <= type;
  return format.type == kFormatF && type == 0;
}

KORV_Format UsableFormat(const KORV_Variable& variable) {
  if (FormatSuits(variable.GetFormat(), variable.GetType())) return variable.GetFormat();
  return KORV_Variable(std::string(), variable.GetType()).GetFormat();
}

// from_chars is stricter than what people write: it takes neither a leading plus nor blanks. "+-5" must stay
// wrong, hence the look at the second character.
bool ParseNumber(std::string_view text, double* number) {
  text = TrimBoth(text);
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  // from_chars takes "12." but not "1e3."; without the full stop both are read.
  if (text.size() > 1 && text.back() == '.') text.remove_suffix(1);
  double parsed = 0.0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), parsed);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size() || !std::isfinite(parsed)) return false;
  *number = parsed == 0.0 ? 0.0 : parsed;  // never -0
  return true;
}

char* WriteNumberText(double number, char* buffer) {
  const double size = std::fabs(number);
  const bool isPlain = size == 0.0 || (kExponentBelow <= size && size < kExponentFrom);
  char* end = buffer + kNumberTextSize;
  if (isPlain) return std::to_chars(buffer, end, number, std::chars_format::fixed).ptr;
  return std::to_chars(buffer, end, number, std::chars_format::scientific).ptr;
}

std::string NumberText(double number) {
  char buffer[kNumberTextSize];
  return std::string(buffer, WriteNumberText(number, buffer));
}
