#pragma once

#include <string>
#include <string_view>

#include "host/model/Dictionary.h"
#include "host/numeric/Obs.h"

class KORV_Variable;

// Data values as text, in two ways that must not be mixed up.
//
//   ToString(), FromString()       in a variable's format, of fixed width, for people. May be rounded.
//   NumberText(), ParseNumber()    as short as possible without loss, for files. Reads back to the same
//   double.
//
// The decimal character is a full stop whatever the locale. Functions that return int return 0 on success.

// Writes a value into `buffer`, which must have room for format.width + 1 bytes, and null-terminates it.
//
// A number is right-justified; when it doesn't fit it loses decimals, then it gets an exponent, and as a last
// resort the field is filled with asterisks (the rules are in Values.cpp). System-missing is a lone full
// stop. A text loses its trailing blanks but for one when it is all blank. Always returns 0. REQUIRES:
// FormatSuits(format, type of the value), so that no cell beyond the value is read.
int ToString(const OBS* cells, const KORV_Format& format, char* buffer);

// Reads a value into `cells`. Numbers may have blanks on either side; a text of blanks, or a lone full stop,
// is system-missing. Strings are blank-padded to the format's width, and their trailing blanks don't count.
// Nonzero when `text` isn't a value in this format; then `cells` is unchanged.
int FromString(std::string_view text, const KORV_Format& format, OBS* cells);

// Whether `format` can display values of `type` (0 numeric, else a string's width in bytes) without reading
// past the value's cells. A format narrower than the string is fine: it displays the beginning.
bool FormatSuits(const KORV_Format& format, int type);

// The variable's print format, or the default of its type if that one doesn't suit. Dictionaries from files
// can contain any combination.
KORV_Format UsableFormat(const KORV_Variable& variable);

// The shortest text that reads back to the same double: "0.1", "12", "1e+22". An exponent from 1e17 up and
// below 1e-5.
std::string NumberText(double number);
// The same without allocating: into `buffer` of kNumberTextSize bytes, not null-terminated. Returns the end.
inline constexpr int kNumberTextSize = 32;
char* WriteNumberText(double number, char* buffer);

// Reads a number that must be the whole text, apart from outer blanks. False, and `number` unchanged, for
// anything else, "nan" and "inf" included, and for numbers too large for a double.
bool ParseNumber(std::string_view text, double* number);

// `text` without its trailing blanks. Only blanks (0x20): they are what string values are padded with.
std::string_view TrimRight(std::string_view text);
