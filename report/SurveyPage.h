#pragma once

#include <iosfwd>

#include "host/render/HtmlReport.h"

class OutputDocument;
struct FinalWeights;

// The part of a run's reports that belongs to survey statistics. The page and the text themselves, with
// messages, notes, tables and files, are written by host/render, which knows nothing of surveys and takes
// this as additions.

// Three additions to the page: a section with a table for each stage; one on the final weights, with their
// histogram, their sum, their range and the design effect due to unequal weighting; and before each summary
// table a figure of the units requested and drawn. Without weights (null, or a sample without a case) there
// are no sections.
//
// Ownership:  the result borrows document and weights, which must outlive it.
// Threads:    none of its own; the functions in the result run when the page is written.
HtmlAdditions SurveyAdditions(const OutputDocument& document, const FinalWeights* weights);

// The same sections for a report in plain text, without pictures.
void WriteSurveyText(const OutputDocument& document, const FinalWeights* weights, std::ostream& out);
