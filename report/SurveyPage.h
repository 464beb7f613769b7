#pragma once

#include "host/render/HtmlReport.h"

struct FinalWeights;

// What the page of a run shows of the survey itself: a section on the final weights, with their distribution
// and the design effect due to unequal weighting, and a figure of the units requested and drawn before each
// summary table.
//
// Ownership:  borrows the weights, which must outlive the result. Null, or weights of no case, gives no
// section.
HtmlAdditions SurveyAdditions(const FinalWeights* weights);
