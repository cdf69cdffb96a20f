#include <cmath>
#include <string>

#include "platform/Text.h"
#include "preview/DateText.h"
#include "preview/GridRows.h"
#include "writer/OleDate.h"

namespace pastille::preview {
namespace {

using writer::IMessageItem;
using writer::ItemProperty;
using writer::kNoDate;

/// PidTagSensitivity. [MS-OXCMSG] 2.2.1.13
constexpr std::u16string_view kSensitivities[] = {u"Normal", u"Personal", u"Private", u"Confidential"};
/// PidTagImportance; a low one has no text. [MS-OXCMSG] 2.2.1.11
constexpr std::u16string_view kImportances[] = {u"", u"Normal", u"High"};
/// PidLidNoteColor. [MS-OXONOTE] 2.2.1.1
constexpr std::u16string_view kColors[] = {u"Blue", u"Green", u"Pink", u"Yellow", u"White"};
/// PidLidTaskStatus. [MS-OXOTASK] 2.2.2.2.2
constexpr std::u16string_view kTaskStatuses[] = {u"Task Not Started", u"Task In Progress", u"Task Complete",
                                                 u"Task Waiting", u"Task Deferred"};

std::u16string NameOf(std::int32_t number, std::span<const std::u16string_view> names)
{
    const auto place = static_cast<std::uint32_t>(number);
    return place < names.size() ? std::u16string(names[place]) : std::u16string();
}

std::u16string Decimal(std::int64_t number)
{
    return platform::FromUtf8(std::to_string(number));
}

/// Besides the date that says so, the two that come of an unreadable value: FILETIME 0 and date 0.
bool IsNoTime(double date)
{
    return date == kNoDate || date == 0.0 || date == writer::OleDateFromFileTime(0);
}

std::u16string TimeText(double date)
{
    constexpr std::int64_t kSecond = 1000;
    constexpr std::int64_t kMinute = 60 * kSecond;
    constexpr std::int64_t kHour = 60 * kMinute;
    // Before the epoch of OLE dates, too, the fraction is the time of day.
    const double fraction = std::fabs(date - std::trunc(date));
    const std::int64_t time = std::llround(fraction * static_cast<double>(24 * kHour)) % (24 * kHour);
    return Decimal(time / kHour) + u':' + Decimal(time % kHour / kMinute) + u':' +
           Decimal(time % kMinute / kSecond) + u':' + Decimal(time % kSecond);
}

}  // namespace

std::u16string GridText(IMessageItem& item, const ItemProperty& property, std::size_t longest)
{
    // No character set takes more bytes for a unit, so that a text that is cut here is longer than that.
    constexpr std::size_t kMostBytesOfUnit = 4;
    if (longest == 0)
        return {};
    return item.GetTextStart(property, static_cast<std::uint32_t>(kMostBytesOfUnit * (longest + 1))).text;
}

std::optional<std::u16string> GridValueText(IMessageItem& item, const GridRow& row, std::size_t longest)
{
    const ItemProperty& property = *row.property;
    switch (row.value) {
        case GridValue::Text:
            return GridText(item, property, longest);
        case GridValue::Flag:
            return item.GetFlag(property) != 0 ? u"Yes" : u"No";
        case GridValue::Number:
            return Decimal(item.GetNumber(property));
        case GridValue::Date:
            return DateText(item.GetDate(property));
        case GridValue::ReceivedTime: {
            const double time = item.GetDate(property);
            return IsNoTime(time) ? std::nullopt : std::optional(TimeText(time));
        }
        case GridValue::Sensitivity:
            return NameOf(item.GetNumber(property), kSensitivities);
        case GridValue::Importance:
            return NameOf(item.GetNumber(property), kImportances);
        case GridValue::NoteColor:
            return NameOf(item.GetNumber(property), kColors);
        case GridValue::TaskStatus:
            return NameOf(item.GetNumber(property), kTaskStatuses);
    }
    return std::u16string();
}

}  // namespace pastille::preview
