#pragma once

#include <cstddef>

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
