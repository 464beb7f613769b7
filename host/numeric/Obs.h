#pragma once

#include <cstddef>
#include <limits>

// The system-missing value: the most negative finite double. Test for it with ==; it is never NaN.
namespace MCMV {
inline constexpr double gMissingValue = std::numeric_limits<double>::lowest();
}  // namespace MCMV

// One cell of a case: a double, or 8 bytes of a string. A number takes one cell, a string of width w takes
// ObsCells(w), blank-padded to the end of the last and without a null. Which it is, the dictionary knows.
union OBS {
  double number;
  char text[8];
};
static_assert(sizeof(OBS) == 8);

// Cells of one value. A width of 0 means a number, here and everywhere in the host.
constexpr std::size_t ObsCells(int width) {
  return width < 9 ? 1 : (static_cast<std::size_t>(width) + 7) / 8;
}
