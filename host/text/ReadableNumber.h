#pragma once

#include <string>

// A number for people: `digits` significant digits but all of its whole part, thousands apart by commas, no
// trailing zeros: "6,194", "17.3017", "0.0025". Very large and very small ones have an exponent.
// REQUIRES: digits from 1 to 15.
std::string ReadableNumber(double number, int digits = 6);
