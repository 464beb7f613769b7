#pragma once

#include <string>

// Numbers for people: in messages, progress lines and HTML. Not for files: these numbers are rounded. A file
// gets NumberText() of host/model/Values.h, which reads back to the same double.
//
// Both functions give `digits` significant digits, but never fewer than the whole part has, and no trailing
// zeros: "6194", "17.3017", "0.0025". Numbers from 1e15 up and below 1e-4 get an exponent. The decimal
// character is a full stop, whatever the locale. REQUIRES: 1 <= digits <= 15.

std::string ReadableNumber(double number, int digits = 6);

// With commas between thousands: "6,194". For running text; the tables of the output have no commas.
std::string GroupedNumber(double number, int digits = 6);
