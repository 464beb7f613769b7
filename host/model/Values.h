#pragma once

#include <string>
#include <string_view>

#include "host/model/Dictionary.h"
#include "host/numeric/Obs.h"

class KORV_Variable;

// Texts of data values. The decimal character is a full stop, whatever the locale.

// Writes a value into `buffer`, which has room for the format's width and a terminating zero. 0 on success.
//
// A number is right-justified. One that doesn't fit loses decimals, then goes over to an exponent with as
// many significant digits as fit; where not even that fits, the field is filled with asterisks. A
// system-missing number is a lone full stop. A text has no trailing blanks, but at least one character.
// REQUIRES: FormatSuits(format, type of the value), so that the cells hold as much as the format reads.
int ToString(const OBS* cells, const KORV_Format& format, char* buffer);

// Reads a value: a number with blanks round it, where nothing but blanks or a lone full stop is
// system-missing; a text, which is padded with blanks to its width. 0 on success; otherwise the text is no
// value of that format and the cells are as they were.
int FromString(std::string_view text, const KORV_Format& format, OBS* cells);

// Whether a format can show the values of a variable of that type (0 numeric, else the width in bytes).
bool FormatSuits(const KORV_Format& format, int type);

// A variable's print format, or the default one of its type where a dictionary has one that can't show the
// values.
KORV_Format UsableFormat(const KORV_Variable& variable);

// The number with the fewest digits that reads back the same: "0.1", "12", "1e+22".
std::string NumberText(double number);
// The same into `buffer`, which has room for kNumberTextSize characters; returns the end of the text.
inline constexpr int kNumberTextSize = 32;
char* WriteNumberText(double number, char* buffer);

// The number that the whole of a text says, as FromString() reads it but for the missing ones. False when it
// is none or too large for a double.
bool ParseNumber(std::string_view text, double* number);

// A text without its trailing blanks.
std::string_view TrimRight(std::string_view text);
