#pragma once

#include <functional>
#include <iosfwd>

class OutputDocument;
struct RunOutcome;

// The document as plain text, for terminals and text files. A terminal gets RenderText() on standard output
// and RenderMessages() on standard error; a report file gets both, and more, by WriteTextReport().
//
// All texts go through PrintableText(): a control character or an escape sequence in a label or file name
// can't reach the terminal.

inline constexpr int kDefaultTextWidth = 100;  // when the output isn't a terminal

// Notes, then tables. Prints nothing at all, not even the title, when there are neither. `width` is in
// columns of the terminal; TablePrinter.h describes what happens to tables that are wider.
void RenderText(const OutputDocument& document, int width, std::ostream& out);

// The messages, one per line: "Error: ", or "Warning: ", the group if there is one, the text. Lines aren't
// wrapped, so that file names and numbers can be copied. Behind the last one of a kind a line says how many
// more there were.
void RenderMessages(const OutputDocument& document, std::ostream& out);

// A complete report of a run: how it ended, messages, remarks, notes, tables, and what is needed to repeat
// it. The latter are commands and paths, so they aren't wrapped either. The width is kDefaultTextWidth
// wherever it is written, so that the same run gives the same file.
// `writeSections`, which may be empty, adds what somebody else has to say, before what repeats the run.
// REQUIRES: the outcome has a document.
void WriteTextReport(const RunOutcome& outcome, const std::function<void(std::ostream& out)>& writeSections,
                     std::ostream& out);
