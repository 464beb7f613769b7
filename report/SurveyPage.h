#pragma once

#include "host/render/HtmlReport.h"

struct FinalWeights;

// The part of a run's page that belongs to survey statistics. The page itself, with messages, notes, tables
// and files, is written by WriteHtmlReport(), which knows nothing of surveys and takes this as additions.

// Two additions: a section on the final weights, with their histogram, their sum, their range and the design
// effect due to unequal weighting; and before each summary table a figure of the units requested and drawn.
// Without weights (null, or a sample without a case) there is no section.
//
// Ownership:  the result borrows the weights, which must outlive it.
// Threads:    none of its own; the functions in the result run when the page is written.
HtmlAdditions SurveyAdditions(const FinalWeights* weights);
