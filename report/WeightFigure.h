#pragma once

#include <iosfwd>
#include <string>

struct WeightSummary;

// Writes the histogram of a sample's weights with a line at their mean. Weights that are all the same have no
// picture and write nothing. `id` begins the identifiers in the page.
void WriteWeightFigure(const WeightSummary& weights, const std::string& id, std::ostream& out);
