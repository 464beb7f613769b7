#pragma once

#include <iosfwd>
#include <string>

// A picture is as wide as its box: positions across are percentages, positions down are pixels, and texts
// keep their size.

// "12.5%", to a hundredth.
std::string Across(double percent);

// Opens a picture with a name and a description for who can't see it. `id` begins their identifiers; the
// texts are escaped.
void OpenSvg(const std::string& id, int height, const std::string& title, const std::string& description,
             std::ostream& out);

// A text at a position; `anchor` is start, middle or end. The text is escaped.
void WriteSvgText(const std::string& x, int y, const char* anchor, const std::string& text,
                  std::ostream& out);

// A horizontal line from `from` to `to` percent.
void WriteSvgGridLine(double from, double to, int y, std::ostream& out);
