#pragma once

#include <string>

// A number for people: `digits` significant digits but all of its whole part, no trailing zeros: "6194",
// "17.3017", "0.0025". Very large and very small ones have an exponent. REQUIRES: digits from 1 to 15.
std::string ReadableNumber(double number, int digits = 6);

// The same with thousands apart by commas, where no table stands beside it: "6,194".
std::string GroupedNumber(double number, int digits = 6);
