#pragma once

#include <iosfwd>
#include <string>

// Pieces of SVG pictures that adapt to the width of the page. A picture is as wide as the box around it, on a
// phone as in print, while its texts keep their size. So there is no viewBox, which would scale the texts:
// positions and widths across are percentages, positions and heights down are pixels.
//
// Colours come from the style sheet of the page by the class of an element: requested, actual, fewer, equal,
// mean, grid.

// "12.50%", rounded to a hundredth.
std::string Across(double percent);

// Opens a picture of that height with a title and a description, which screen readers read out; the caller
// writes "</svg>". `id` starts their identifiers. Escapes the texts.
void OpenSvg(const std::string& id, int height, const std::string& title, const std::string& description,
             std::ostream& out);

// Writes a text whose start, middle or end (`anchor`) is at `x`, a length such as Across() makes. Escapes it.
void WriteSvgText(const std::string& x, int y, const char* anchor, const std::string& text,
                  std::ostream& out);

// Writes a horizontal line between two percentages.
void WriteSvgGridLine(double from, double to, int y, std::ostream& out);
