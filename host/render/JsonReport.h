#pragma once

#include <iosfwd>

struct RunOutcome;

// Writes the report for programs: one JSON object. Users' scripts depend on its form:
//
//   procedure   title of the procedure
//   status      "ok", "error" or "cancelled"
//   messages    [{level: "error" | "warning", text, group, repeats}]
//   notes       [{group: number, label, text}]
//   tables      [{title, kind, caption, notes: [text],
//                 dimensions: [{label, place: "row" | "column", index}],
//                 cells: [{at: {dimension label: [path of category labels]}, value, text}]}]
//   files       [{role, path, cases}]
//   remarks     [text]
//   facts       [{label, lines: [text]}]; none that differs between equal runs
//
// A cell has a `value` only if it is a number; `text` is what the other reports show. Read `kind` to
// recognise a table, since titles vary. A cell's `at` is keyed by dimension label; the second of two equal
// labels gets a number, "Value (2)", here and in `dimensions`.
//
// Written element by element, one array element per line, in document order: a table of a million cells
// needs no tree in memory, and two reports can be compared with a line-based diff. Invalid UTF-8 becomes
// U+FFFD.
// REQUIRES: the outcome has a document.
void WriteJsonReport(const RunOutcome& outcome, std::ostream& out);
