#pragma once

#include "backend/svselect/selection/SVSClusterData.h"

// What is done to the measures of size of a stratum's units when its selection begins.

// Keeps the sizes within bounds; only a positive bound that isn't missing bounds. A missing size is left
// alone, and a size raised to the minimum isn't held against the maximum.
void BoundSizes(const ClusterPairs& units, double minimum, double maximum);

// The order of PPS_WOR: ascending by the whole part of the size, with `exact` by the size itself; units that
// are equal in this by their keys.
void SortBySize(ClusterPairs* units, bool exact);
