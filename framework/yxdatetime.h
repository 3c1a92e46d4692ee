// Julian-day values: a double whose integer part is the Julian Day Number and
// whose fraction is the time of day, measured in UTC exactly as SQLite's
// julianday() does, so stored times read correctly in any SQLite client.
// All functions are pure or read the system clock; they are thread-safe.
#pragma once

#include "framework/yxexport.h"

#include <cstdint>

// Calendar record (the platform's SYSTEMTIME role): month 1..12,
// day of week 0 = Sunday .. 6 = Saturday.
struct SYxSystemTime {
    int wYear = 0;
    int wMonth = 0;
    int wDayOfWeek = 0;
    int wDay = 0;
    int wHour = 0;
    int wMinute = 0;
    int wSecond = 0;
    int wMilliseconds = 0;
};

// The current instant as a Julian-day value (UTC).
GNR_API double YxJdn_Now();
// Unix time in milliseconds to a Julian-day value and back.
GNR_API double YxJdn_FromUnixMs(std::int64_t ms);
GNR_API std::int64_t YxJdn_ToUnixMs(double jdn);
// Splits a Julian-day value into calendar fields (UTC, proleptic Gregorian).
GNR_API SYxSystemTime YxJdn_ToSystemTime(double jdn);
// Builds a Julian-day value from calendar fields (UTC); wDayOfWeek is ignored.
GNR_API double YxJdn_FromSystemTime(const SYxSystemTime& st);
// UTC calendar fields to local calendar fields (using the C library's zone).
GNR_API SYxSystemTime YxJdn_ToLocalSystemTime(double jdn);
// A monotonic counter in seconds, for measuring durations.
GNR_API double YX_GetTimeCounter();
