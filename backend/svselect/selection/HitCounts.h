#pragma once

#include <cstdint>
#include <span>
#include <vector>

class SVCancelInfo;

// Adds to the `hits` of each unit the number of `points` in its interval, which reaches from the cumulative
// size of the unit before it (0 for the first) to its own: points greater than the lower end and not greater
// than the upper one. A unit of negative size has no such points, and a point that is NaN lies nowhere.
// Asks for cancellation before each unit; false when cancelled, the hits then being unfinished. The points
// come back in ascending order, without any NaN.
//
// Cost: the sort of the points, and one walk along units and points together, which each negative size sets
// back.
bool AddHits(std::vector<double>* points, std::span<const double> cumulativeSizes,
             std::vector<std::int32_t>* hits, SVCancelInfo* cancelInfo);
