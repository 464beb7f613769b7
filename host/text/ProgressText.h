#pragma once

#include <cstdint>
#include <string>

// How far a pass over the cases has come.
struct PassProgress {
  int pass = 1;
  bool isLast = false;
  std::int64_t cases = 0;   // that it has given
  std::int64_t total = -1;  // of the file; negative when that isn't known
  double seconds = 0.0;     // since it began
};

// It in a line: "pass 2: 43 % of 10,000,000 cases, 2,410,000 a second, 3 s left". What would make the line
// longer than `width` is left out from the end.
std::string ProgressText(const PassProgress& progress, int width);

// "3 s", "2 min 5 s", "1 h 4 min". REQUIRES: seconds >= 0.
std::string DurationText(double seconds);
