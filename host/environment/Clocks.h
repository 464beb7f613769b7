#pragma once

// The host's two clocks.

// A date in the proleptic Gregorian calendar.
struct CalendarDay {
  int day = 1;    // 1..31
  int month = 1;  // 1..12
  int year = 1970;
};

// Wall-clock time in seconds since 1970-01-01 00:00 UTC, with a fraction. It can jump when the system's clock
// is set, so don't measure durations with it. The seed of a run without one is computed from it.
double SCLOCK();

// Today's date, local time. When the environment variable SOURCE_DATE_EPOCH holds a whole number of seconds,
// the UTC date of that instant instead, so that files that contain a date can be reproduced to the byte. A
// value that isn't a number, or lies outside years 1 to 9999, is ignored.
CalendarDay BCLOCK();
