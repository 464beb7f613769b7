#pragma once

#include <iosfwd>

struct RunOutcome;

// The report for programs: one JSON object with the members procedure, status, messages, notes, tables and
// files. It goes to `out` element by element: no tree of the whole is built. Bytes that are no UTF-8 come out
// as U+FFFD.
// REQUIRES: the outcome has a document.
void WriteJsonReport(const RunOutcome& outcome, std::ostream& out);
