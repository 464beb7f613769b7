#pragma once

#include <string>

struct RunRequest;

// A run that names no seed, or RANDOM, draws another sample each time. Where it is to replace a file that is
// there already, this is one line to say so before the draw, with the seed of the sample that will be lost if a
// report of the request's names still tells it: one that names the file and isn't older. Otherwise empty.
//
// It is a line and no refusal: scripts draw again and again, and must go on to do so.
// REQUIRES: the session has its command, which may be faulty.
std::string EarlierSampleRemark(const RunRequest& request);
