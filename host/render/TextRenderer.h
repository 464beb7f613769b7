#pragma once

#include <iosfwd>

class OutputDocument;
struct RunOutcome;

// Width of a terminal line when none is known.
inline constexpr int kDefaultTextWidth = 100;

// Notes and tables as plain text: aligned columns, nested row groups indented. Tables wider than `width`
// display columns are folded into blocks of columns.
void RenderText(const OutputDocument& document, int width, std::ostream& out);

// The messages, one a line, with their level and group.
void RenderMessages(const OutputDocument& document, std::ostream& out);

// The report as plain text: how the run ended, all of the above, the program's own remarks, and what it takes
// to run it again, whose lines aren't wrapped.
// REQUIRES: the outcome has a document.
void WriteTextReport(const RunOutcome& outcome, std::ostream& out);
