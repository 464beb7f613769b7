#pragma once

#include <iosfwd>
#include <string>

class OutputTable;

// Writes the picture of a stage's summary table: units requested against units drawn, by stratum. Up to
// kMostStageBars strata have a bar each; more stand as points, those with like numbers in one point, so that
// the picture's size is bounded. A table that is no summary with numbers writes nothing. `id` begins the
// identifiers in the page.
void WriteStageFigure(const OutputTable& table, const std::string& id, std::ostream& out);

inline constexpr std::size_t kMostStageBars = 40;
