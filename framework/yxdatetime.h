// Julian-day values: a double whose integer part is the Julian Day Number and
// whose fraction is the time of day, measured in UTC exactly as SQLite's
// julianday() does, so stored times read correctly in any SQLite client.
// All functions are pure or read the system clock; they are thread-safe.
#pragma once

#include "gnr_projectdb/sys.h"  // SYxSystemTime

#include <cstdint>

// The current instant as a Julian-day value (UTC).
double YxJdn_Now();
// Unix time in milliseconds to a Julian-day value and back.
double YxJdn_FromUnixMs(std::int64_t ms);
std::int64_t YxJdn_ToUnixMs(double jdn);
// Splits a Julian-day value into calendar fields (UTC, proleptic Gregorian).
SYxSystemTime YxJdn_ToSystemTime(double jdn);
// Builds a Julian-day value from calendar fields (UTC); wDayOfWeek is ignored.
double YxJdn_FromSystemTime(const SYxSystemTime& st);
// UTC calendar fields to local calendar fields (using the C library's zone).
SYxSystemTime YxJdn_ToLocalSystemTime(double jdn);
// A monotonic counter in seconds, for measuring durations.
double YX_GetTimeCounter();
