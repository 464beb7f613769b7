#pragma once

#include <cstdlib>

// What a fuzz target finds is an abort.
inline void Require(bool holds) {
  if (!holds) std::abort();
}
