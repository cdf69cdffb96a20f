#include "preview/DateText.h"

#include <cmath>

#include "platform/Text.h"
#include "writer/OleDate.h"

namespace pastille::preview {
namespace {

/// The first day of OLE automation dates is 1 January 100; the component gives the epoch for those that are
/// too far from it.
bool IsCalendarDate(double date, const writer::CalendarDate& day)
{
    const bool isEpoch = day.year == 1899 && day.month == 12 && day.day == 30;
    return day.year >= 100 && (!isEpoch || std::trunc(date) == 0.0);
}

}  // namespace

std::u16string DateText(double date)
{
    const writer::CalendarDate day = writer::CalendarDateOf(date);
    if (date == writer::kNoDate || !IsCalendarDate(date, day))
        return {};
    return platform::FromUtf8(std::to_string(day.month) + '/' + std::to_string(day.day) + '/' +
                              std::to_string(day.year));
}

}  // namespace pastille::preview
