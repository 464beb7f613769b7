#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

class OutputTable;
struct WeightSummary;

// The pictures of a survey's page: inline SVG with its description in words, for a reader who can't see it.
// All texts that come from the data are escaped, so that a picture is well-formed XML.
//
// `id` starts the identifiers of the picture's elements and must be used once in a page.

// More strata than this are drawn as points instead of bars, so that the size of a picture is bounded.
inline constexpr std::size_t kMostStageBars = 40;

// Writes a figure of a stage's summary table, units requested and units drawn by stratum, or of its table in a
// preview, units asked for and possible. Strata have a bar
// each; many strata are points in a plot, those with about the same numbers in one. Writes nothing for a
// table of another kind, or without numbers.
void WriteStageFigure(const OutputTable& table, const std::string& id, std::ostream& out);

// Writes the histogram of the weights of a sample, with a line at their mean. Writes nothing if there are no
// bins, since all weights are the same.
void WriteWeightFigure(const WeightSummary& weights, const std::string& id, std::ostream& out);
