#pragma once

#include <cstdint>
#include <string>

// The one-line description of a pass that is under way. Pure text: when and where it is shown is the
// program's business.

struct PassProgress {
  int pass = 1;             // from 1
  bool isLast = false;      // the pass that writes the sample; shown as "last pass"
  std::int64_t cases = 0;   // delivered so far
  std::int64_t total = -1;  // cases in the file; negative: unknown
  double seconds = 0.0;     // since the pass began
};

// For example "pass 2: 43 % of 10,000,000 cases, 2,410,000 a second, 3 s left". Parts that don't fit in
// `width` are left out, the time first and then the rate; the first part is always there, however narrow the
// line. Rate and time are also left out during the first fifth of a second and when the pass is complete.
std::string ProgressText(const PassProgress& progress, int width);

// "3 s", "2 min 5 s", "1 h 4 min": two units at most, since the smaller ones change faster than they can be
// read. Capped at a million hours. REQUIRES: seconds >= 0.
std::string DurationText(double seconds);
