#pragma once

#include <string>
#include <vector>

#include "host/output/OutputTable.h"

class OutputDocument;
struct FinalWeights;
struct StageReview;

// A table for each stage that was drawn: by stratum the number of its units in the frame and in the sample,
// and the smallest and largest inclusion probability and final weight in the sample. The numbers of units
// come from the stage's summary table where the document has one, everything else from the sample. Notes say
// what isn't known. Strata that look alike are one row.
//
// REQUIRES: the document's summary tables are those of the run that has drawn the sample.
std::vector<OutputTable> StageTables(const OutputDocument& document, const FinalWeights& weights);

// "57 clusters were drawn: Butte; Orange; ... and 3 more", about those that have a case in the sample. Empty
// for a stage whose units are cases.
std::string DrawnClusters(const StageReview& stage);

// Explains the columns of the tables.
extern const char* const kAboutStageTables;
