#include "writer/OleDate.h"

#include <chrono>
#include <cmath>

namespace pastille::writer {
namespace {

constexpr std::uint64_t kTicksPerMillisecond = 10'000;
constexpr std::int64_t kMillisecondsPerDay = 86'400'000;
/// Days from 1601-01-01 to 1899-12-30.
constexpr std::int64_t kDaysToOleEpoch = 109'205;
/// First day after the year 9999, in days since 1899-12-30.
constexpr double kEndOfCalendar = 2'958'466.0;

}  // namespace

double OleDateFromFileTime(std::uint64_t fileTime)
{
    const auto milliseconds = static_cast<std::int64_t>(fileTime / kTicksPerMillisecond);
    const std::int64_t day = milliseconds / kMillisecondsPerDay - kDaysToOleEpoch;
    const double fraction =
        static_cast<double>(milliseconds % kMillisecondsPerDay) / static_cast<double>(kMillisecondsPerDay);
    // Before the epoch the whole part counts backwards while the fraction is still the time of day.
    const double date = day < 0 ? static_cast<double>(day) - fraction : static_cast<double>(day) + fraction;
    return date < kEndOfCalendar ? date : 0.0;
}

std::uint64_t FileTimeFromOleDate(double date)
{
    if (!(date >= -static_cast<double>(kDaysToOleEpoch) - 1.0) || !(date < kEndOfCalendar))
        return 0;
    const double whole = std::trunc(date);
    const double fraction = std::fabs(date - whole);
    const std::int64_t days = static_cast<std::int64_t>(whole) + kDaysToOleEpoch;
    if (days < 0)
        return 0;
    const auto milliseconds =
        days * kMillisecondsPerDay + std::llround(fraction * static_cast<double>(kMillisecondsPerDay));
    return static_cast<std::uint64_t>(milliseconds) * kTicksPerMillisecond;
}

CalendarDate CalendarDateOf(double date)
{
    if (!(std::fabs(date) < kEndOfCalendar))
        return {1899, 12, 30};
    using namespace std::chrono;
    const sys_days epoch = year{1899} / December / 30;
    const year_month_day calendar{epoch + days{static_cast<int>(std::trunc(date))}};
    return {static_cast<int>(calendar.year()), static_cast<int>(static_cast<unsigned>(calendar.month())),
            static_cast<int>(static_cast<unsigned>(calendar.day()))};
}

}  // namespace pastille::writer
