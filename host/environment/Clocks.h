#pragma once

// A day of the calendar.
struct CalendarDay {
  int day = 1;
  int month = 1;
  int year = 1970;
};

// A wall clock in seconds since 1970 with its fraction; a random seed is made of it.
double SCLOCK();

// Today by local time, or the day (UTC) of the environment variable SOURCE_DATE_EPOCH when that holds a whole
// number of seconds, so that a build or a test can be repeated to the byte.
CalendarDay BCLOCK();
