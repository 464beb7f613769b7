#pragma once

#include <cstdint>
#include <vector>

#include "host/numeric/MCRandomTwister.h"

// One number that a generator is to give, if it is asked for by the operation named. Asked for by the other
// one it gives a number 2^-27 higher (Open) or within 2^-26 of it (Closed).
struct ScriptedDraw {
  bool bOpen;
  double value;
};
inline ScriptedDraw Open(double value) {
  return {true, value};
}
inline ScriptedDraw Closed(double value) {
  return {false, value};
}

// A generator that gives these numbers, at most 300 of them, and then nearly zeros.
MCCommonMath::MCRandomTwister ScriptedTwister(const std::vector<ScriptedDraw>& draws);

// How many numbers were taken from a scripted generator; takes one more.
int DrawsTaken(MCCommonMath::MCRandomTwister* scripted);
