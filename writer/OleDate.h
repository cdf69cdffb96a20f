#pragma once

#include <cstdint>

namespace pastille::writer {

/// OLE automation date of 1 January 4500: there is no date.
inline constexpr double kNoDate = 949633.0;

/// A FILETIME (100 ns since 1601-01-01 UTC) as an OLE automation date (days since 1899-12-30 UTC), cut to
/// whole milliseconds. FILETIME values that no calendar date stands for (after the year 9999) give 0.0.
double OleDateFromFileTime(std::uint64_t fileTime);

/// The inverse, to the nearest millisecond. Dates outside the years 1601 to 9999 give 0.
std::uint64_t FileTimeFromOleDate(double date);

/// Calendar date of an OLE automation date.
struct CalendarDate {
    int year, month, day;
};
/// The day that a date falls on, in UTC; also before 1899-12-30, where the part of the day counts upward.
CalendarDate CalendarDateOf(double date);

}  // namespace pastille::writer
