#pragma once

#include <iosfwd>

class OutputDocument;
struct FinalWeights;
struct RunOutcome;

// The report for people: one page of its own, without a script and with nothing from elsewhere, light or dark
// as the reader has it, fit for a phone, for print and for a screen reader. It is HTML and well-formed XML at
// once. Beyond what the JSON report has it shows pictures: for each stage the units requested and drawn by
// stratum, and the distribution of the final weights where they are given (null or of no case: none).
void WriteHtmlReport(const OutputDocument& document, const RunOutcome& outcome, const FinalWeights* weights,
                     std::ostream& out);
