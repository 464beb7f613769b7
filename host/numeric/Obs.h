#pragma once

#include <cstddef>
#include <limits>

// The system-missing value: the most negative finite double. Tested by equality; never 0 and never NaN.
namespace MCMV {
inline constexpr double gMissingValue = std::numeric_limits<double>::lowest();
}  // namespace MCMV

// The data cell: one double, or 8 characters of a string. A value is a run of cells: one for a number, for a
// string of width w as many as ObsCells(w) says, padded with blanks to w bytes.
union OBS {
  double number;
  char text[8];
};
static_assert(sizeof(OBS) == 8);

// Cells of one value; a width of 0 means a number.
constexpr std::size_t ObsCells(int width) {
  return width < 9 ? 1 : (static_cast<std::size_t>(width) + 7) / 8;
}
