#include "host/read/TextProfile.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <iterator>
#include <limits>

namespace {

// Sets of kinds are bits of an unsigned.
constexpr unsigned Bit(TextProfile::Kind kind) {
  return 1u << static_cast<unsigned>(kind);
}
constexpr unsigned kNumbers = Bit(TextProfile::Kind::kInteger) | Bit(TextProfile::Kind::kNumber);

bool IsDigit(char c) {
  return '0' <= c && c <= '9';
}

std::string_view WithoutSign(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  return text;
}

// Removes the digits at the front of the text; false when there are none.
bool SkipDigits(std::string_view* text) {
  const auto end = std::find_if_not(text->begin(), text->end(), IsDigit);
  const bool any = end != text->begin();
  text->remove_prefix(static_cast<std::size_t>(end - text->begin()));
  return any;
}

// The notations are checked by hand, and not by trying to convert: library functions accept more than our
// notation has, such as blanks, plus signs, hexadecimal digits and "nan".
bool IsInteger(std::string_view text) {
  text = WithoutSign(text);
  return SkipDigits(&text) && text.empty();
}

bool IsNumber(std::string_view text) {
  text = WithoutSign(text);
  bool anyDigits = SkipDigits(&text);
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    anyDigits = SkipDigits(&text) || anyDigits;
  }
  if (!anyDigits) return false;
  if (text.starts_with('e') || text.starts_with('E')) {
    text.remove_prefix(1);
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    if (!SkipDigits(&text)) return false;
  }
  return text.empty();
}

// 0 and 0.5 have none; 00, 007 and 01.5 have.
bool HasLeadingZero(std::string_view text) {
  text = WithoutSign(text);
  return text.size() > 1 && text[0] == '0' && IsDigit(text[1]);
}

// Calls `take` with each significant digit: sign, point, exponent and leading zeros are left out. Zeros at
// the end count, since 1.50 has three significant digits.
template <class Take>
void ForEachSignificantDigit(std::string_view text, const Take& take) {
  bool hasBegun = false;
  for (const char c : text) {
    if (c == 'e' || c == 'E') return;
    hasBegun = hasBegun || ('1' <= c && c <= '9');
    if (hasBegun && IsDigit(c)) take(c);
  }
}

std::size_t CountSignificantDigits(std::string_view text) {
  std::size_t count = 0;
  ForEachSignificantDigit(text, [&](char) { ++count; });
  return count;
}

// Compares digits only: both texts are of about the same number, so the exponents agree.
bool HaveSameDigits(std::string_view text, std::string_view other) {
  std::string digits;
  std::string otherDigits;
  ForEachSignificantDigit(text, [&](char c) { digits += c; });
  ForEachSignificantDigit(other, [&](char c) { otherDigits += c; });
  return digits == otherDigits;
}

// The number made of exactly `digits` digits at `at`; -1 when the text has something else there.
int FieldOf(std::string_view text, std::size_t at, std::size_t digits) {
  int value = -1;
  if (at + digits > text.size()) return -1;
  const auto [end, error] = std::from_chars(text.data() + at, text.data() + at + digits, value);
  const bool isWhole = error == std::errc() && end == text.data() + at + digits;
  return isWhole && IsDigit(text[at]) ? value : -1;
}

constexpr std::size_t kDateLength = 10;  // 2024-02-29
constexpr std::size_t kTimeLength = 8;   // 23:59:59, a fraction may follow

// Year 0 is left out: DuckDB would print it as a year before Christ.
bool IsDate(std::string_view text) {
  if (text.size() != kDateLength || text[4] != '-' || text[7] != '-') return false;
  const int year = FieldOf(text, 0, 4);
  const int month = FieldOf(text, 5, 2);
  const int day = FieldOf(text, 8, 2);
  if (year < 1 || month < 1 || day < 1) return false;
  return std::chrono::year_month_day(std::chrono::year(year),
                                     std::chrono::month(static_cast<unsigned>(month)),
                                     std::chrono::day(static_cast<unsigned>(day)))
      .ok();
}

// DuckDB keeps microseconds and prints no zeros at the end, so a fraction must be like that to come back.
bool IsTime(std::string_view text) {
  if (text.size() < kTimeLength || text[2] != ':' || text[5] != ':') return false;
  const int hour = FieldOf(text, 0, 2);
  const int minute = FieldOf(text, 3, 2);
  const int second = FieldOf(text, 6, 2);
  if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) return false;
  std::string_view fraction = text.substr(kTimeLength);
  if (fraction.empty()) return true;
  constexpr std::size_t kMicroseconds = 6;  // digits
  if (fraction[0] != '.' || fraction.size() > kMicroseconds + 1 || fraction.back() == '0') return false;
  fraction.remove_prefix(1);
  return SkipDigits(&fraction) && fraction.empty();
}

// With a blank, as DuckDB prints it; the T of ISO 8601 wouldn't come back.
bool IsTimestamp(std::string_view text) {
  return text.size() > kDateLength && text[kDateLength] == ' ' && IsDate(text.substr(0, kDateLength)) &&
         IsTime(text.substr(kDateLength + 1));
}

// What a user who says that a column is boolean may have in it.
bool IsUsualBoolean(std::string_view text) {
  constexpr std::string_view kSpellings[] = {"true", "True", "TRUE", "1", "false", "False", "FALSE", "0"};
  return std::find(std::begin(kSpellings), std::end(kSpellings), text) != std::end(kSpellings);
}

// Keeps the first culprit only.
void Note(TextProfile::Culprit* culprit, std::string_view text, std::int64_t place) {
  if (culprit->place == 0) *culprit = {std::string(text), place};
}

}  // namespace

bool ReadNumber(std::string_view text, double* number) {
  if (!IsNumber(text)) return false;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
  return error == std::errc() && end == text.data() + text.size();
}

bool ComesBack(std::string_view text, double number) {
  const std::size_t digits = CountSignificantDigits(text);
  if (digits == 0) return true;  // it is 0, whatever the exponent
  // A double keeps any 15 digits (digits10), unless it is subnormal and has fewer bits. Nearly every value
  // ends here; printing is slow.
  const bool isNormal = std::fabs(number) >= std::numeric_limits<double>::min();
  if (isNormal && digits <= std::numeric_limits<double>::digits10) return true;
  return HaveSameDigits(text, fmt::format("{:.{}e}", number, digits - 1));
}

// A number that makes the column a text still counts for the bounds, since a schema may make the column
// numeric.
void TextProfile::AddNumber(std::string_view text, std::int64_t place) {
  double number = 0.0;
  // IsNumber() was true: ReadNumber() fails for what is beyond the doubles.
  const bool isExact = ReadNumber(text, &number) && ComesBack(text, number);
  if (!isExact) Note(&fNotExact, text, place);
  if (!isExact || HasLeadingZero(text)) Refuse(kNumbers);
  if (!IsInteger(text)) {
    Refuse(Bit(Kind::kInteger));
    fbAllIntegers = false;
  }
  AddBounds(number, number);
}

void TextProfile::AddBounds(double least, double greatest) {
  fLeast = fbAnyNumber ? std::min(fLeast, least) : least;
  fGreatest = fbAnyNumber ? std::max(fGreatest, greatest) : greatest;
  fbAnyNumber = true;
}

// Nearly every number of a file has at most 15 digits, no exponent and no leading zeros. Its digits are a
// whole number that a double holds, and so is the power of ten that they are divided by; hence the quotient is
// rounded once, and is the nearest double, as ReadNumber() gives it. False for any other text.
bool TextProfile::AddShortNumber(std::string_view text) {
  constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  constexpr auto kMostDigits = std::size(kPowers) - 1;
  const bool isNegative = text.starts_with('-');
  const std::string_view number = WithoutSign(text);
  std::int64_t digits = 0;
  std::size_t point = number.size();
  if (number.size() > kMostDigits + 1 || HasLeadingZero(number)) return false;
  for (std::size_t i = 0; i < number.size(); ++i) {
    if (IsDigit(number[i])) {
      digits = 10 * digits + (number[i] - '0');
    } else if (number[i] == '.' && point == number.size()) {
      point = i;
    } else {
      return false;
    }
  }
  const bool isWhole = point == number.size();
  const std::size_t count = number.size() - (isWhole ? 0 : 1);
  if (count == 0 || count > kMostDigits) return false;
  const double size = static_cast<double>(digits) / kPowers[isWhole ? 0 : count - point];
  AddBounds(isNegative ? -size : size, isNegative ? -size : size);
  if (!isWhole) {
    Refuse(Bit(Kind::kInteger));
    fbAllIntegers = false;
  }
  return true;
}

void TextProfile::Add(std::string_view text, std::int64_t place) {
  fbAny = true;
  fLongest = std::max(fLongest, text.size());
  if (fNotBoolean.place == 0 && !IsUsualBoolean(text)) Note(&fNotBoolean, text, place);
  const bool isShort = AddShortNumber(text);
  if (isShort || IsNumber(text)) {
    if (!isShort) AddNumber(text, place);
    Refuse(Bit(Kind::kBoolean) | Bit(Kind::kDate) | Bit(Kind::kTime) | Bit(Kind::kTimestamp));
    return;
  }
  Note(&fNotNumber, text, place);
  Refuse(kNumbers);
  // A kind that is ruled out isn't tested again: in a column of texts a value costs next to nothing.
  if (fPossible & Bit(Kind::kBoolean) && text != "true" && text != "false") Refuse(Bit(Kind::kBoolean));
  if (fPossible & Bit(Kind::kDate) && !IsDate(text)) Refuse(Bit(Kind::kDate));
  if (fPossible & Bit(Kind::kTime) && !IsTime(text)) Refuse(Bit(Kind::kTime));
  if (fPossible & Bit(Kind::kTimestamp) && !IsTimestamp(text)) Refuse(Bit(Kind::kTimestamp));
}

void TextProfile::AddString(std::string_view text, std::int64_t place) {
  Add(text, place);
  Refuse(kNumbers | Bit(Kind::kBoolean));
}

void TextProfile::AddMissing(std::string_view text, std::int64_t place) {
  if (IsNumber(text)) {  // it becomes a user-missing number, so the column must be able to hold it
    Add(text, place);
    return;
  }
  fbAnyMissing = true;
  fLongest = std::max(fLongest, text.size());
}

void TextProfile::Merge(const TextProfile& other) {
  fPossible &= other.fPossible;
  fLongest = std::max(fLongest, other.fLongest);
  if (other.fbAnyNumber) AddBounds(other.fLeast, other.fGreatest);
  fbAny = fbAny || other.fbAny;
  fbAnyMissing = fbAnyMissing || other.fbAnyMissing;
  fbAllIntegers = fbAllIntegers && other.fbAllIntegers;
  if (fNotNumber.place == 0) fNotNumber = other.fNotNumber;
  if (fNotExact.place == 0) fNotExact = other.fNotExact;
  if (fNotBoolean.place == 0) fNotBoolean = other.fNotBoolean;
}

// The first kind that no value has ruled out, in an order that puts integers before other numbers.
TextProfile::Kind TextProfile::Settled() const {
  if (!fbAny) return Kind::kNothing;
  for (const Kind kind :
       {Kind::kInteger, Kind::kNumber, Kind::kBoolean, Kind::kDate, Kind::kTime, Kind::kTimestamp}) {
    if (fPossible & Bit(kind)) return kind;
  }
  return Kind::kText;
}
