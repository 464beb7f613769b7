#pragma once

#include <iosfwd>

class OutputDocument;
struct RunOutcome;

// The report for programs: one JSON object with the members procedure, status, messages, notes, tables and
// files. It is written as it is made, so that its size is bounded by the disk. Bytes that are no UTF-8 come
// out as U+FFFD.
void WriteJsonReport(const OutputDocument& document, const RunOutcome& outcome, std::ostream& out);
