#pragma once

#include <string>
#include <vector>

// Warns once of the columns of a file that are no part of the active file: nested values and blobs.
void WarnOfLeftOutColumns(const std::string& file, const std::vector<std::string>& columns);
