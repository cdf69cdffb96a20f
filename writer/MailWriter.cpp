#include "writer/MailWriter.h"

#include <cstdio>
#include <utility>

#include "writer/OleDate.h"
#include "writer/ValueConversion.h"

namespace pastille::writer {
namespace {

/// A second value that counts as nothing on record.
constexpr std::uint16_t kNoValue = 333;

constexpr std::uint32_t kIconReplied = 0x105;
constexpr std::uint32_t kIconForwarded = 0x106;

enum Cell : unsigned { kFromCell = 1, kToCell = 2, kSubjectCell = 3, kDateCell = 4 };

std::u16string ListDate(double date)
{
    const CalendarDate calendar = CalendarDateOf(date);
    char text[64];
    std::snprintf(text, sizeof text, "%d /%d /%d", calendar.month, calendar.day, calendar.year);
    return platform::FromUtf8(text);
}

}  // namespace

struct CMailWriter::Row {
    std::uint32_t id;  ///< property id, or long id of a named property
    void (CMailWriter::*write)(const Call&);
    const ItemProperty* target;
};

const CMailWriter::Row* CMailWriter::FindRow(std::uint32_t id)
{
    namespace pid = format::pid;
    namespace lid = format::lid;
    static constexpr Row kRows[] = {
        {pid::kSentRepresentingName, &CMailWriter::WriteFrom, &property::SentRepresentingName},
        {pid::kDisplayTo, &CMailWriter::WriteTo, &property::DisplayTo},
        {pid::kMessageDeliveryTime, &CMailWriter::WriteDeliveryTime, &property::DeliveryTime},
        {pid::kClientSubmitTime, &CMailWriter::WriteDate, &property::SubmitTime},
        {pid::kDisplayCc, &CMailWriter::WriteText, &property::DisplayCc},
        {pid::kIconIndex, &CMailWriter::WriteVerb, nullptr},
        {pid::kSensitivity, &CMailWriter::WriteSensitivity, &property::Sensitivity},
        {pid::kImportance, &CMailWriter::WriteImportance, &property::Importance},
        {pid::kFollowupIcon, &CMailWriter::WriteFollowupIcon, &property::FollowupIcon},
        {pid::kOriginatorDeliveryReportRequested, &CMailWriter::WriteFlag,
         &property::OriginatorDeliveryReportRequested},
        {pid::kReadReceiptRequested, &CMailWriter::WriteFlag, &property::ReadReceiptRequested},
        {pid::kDeleteAfterSubmit, &CMailWriter::WriteFlag, &property::DeleteAfterSubmit},
        {lid::kTaskDueDate, &CMailWriter::WriteDate, &property::DueDate},
        {lid::kReminderSet, &CMailWriter::WriteFlag, &property::ReminderSet},
        {lid::kTaskStatus, &CMailWriter::WriteNumber, &property::FlagStatus},
        {pid::kMessageFlags, &CMailWriter::WriteMessageFlags, nullptr},
    };
    for (const Row& row : kRows) {
        if (row.id == id)
            return &row;
    }
    return nullptr;
}

void CMailWriter::BeginMessage(bool showsRow)
{
    m_showsRow = showsRow;
    m_recorded = kNoneRecorded;
    m_fromSeen = m_toSeen = m_subjectShown = false;
}

void CMailWriter::Record(const SourceProperty& property)
{
    if (property.type != static_cast<std::uint16_t>(format::PropertyType::Integer32))
        return;
    const auto value = static_cast<std::uint16_t>(property.value & 0xFFFF);
    switch (property.id) {
        case format::pid::kImportance:
            m_recorded.importance = value;
            break;
        case format::pid::kSensitivity:
            m_recorded.sensitivity = value;
            break;
        case format::pid::kFollowupIcon:
            m_recorded.followupIcon = value;
            break;
        default:
            break;
    }
}

void CMailWriter::Write(const CRef<IMessageItem>& item, const SourceProperty& property,
                        IPropertySource& source)
{
    if (!item)
        throw _com_error(E_POINTER, IMessageItem::kInterfaceId);
    const std::uint32_t id = TranslateId(source.NamedProperties(), property.id);
    if (id > format::pid::kDisplayTo && !m_toSeen && !m_subjectShown) {
        ShowRowWithoutTo(item);
        return;
    }
    if (const Row* row = FindRow(id))
        (this->*row->write)({item, property, source, row->target});
}

void CMailWriter::WriteText(const Call& call)
{
    call.item->SetText(*call.target, call.source.StringValue(call.property.type, call.property.value));
}

void CMailWriter::WriteDate(const Call& call)
{
    call.item->SetDate(*call.target, DateOf(call.source, call.property));
}

void CMailWriter::WriteFlag(const Call& call)
{
    call.item->SetFlag(*call.target, FlagOf(call.property));
}

void CMailWriter::WriteNumber(const Call& call)
{
    call.item->SetNumber(*call.target, static_cast<std::int32_t>(call.property.value));
}

void CMailWriter::WriteFrom(const Call& call)
{
    std::u16string from = call.source.StringValue(call.property.type, call.property.value);
    call.item->SetText(*call.target, from);
    call.item->SetText(property::SenderName, from);
    m_fromSeen = true;
    ShowCell(kFromCell, std::move(from));
}

void CMailWriter::WriteTo(const Call& call)
{
    std::u16string to = call.source.StringValue(call.property.type, call.property.value);
    call.item->SetText(*call.target, to);
    m_toSeen = true;
    if (!m_fromSeen)
        ShowCell(kFromCell, {});
    ShowCell(kToCell, std::move(to));
    ShowCell(kSubjectCell, call.item->GetText(property::Subject));
}

void CMailWriter::WriteDeliveryTime(const Call& call)
{
    const double date = DateOf(call.source, call.property);
    call.item->SetDate(*call.target, date);
    ShowCell(kDateCell, ListDate(date));
}

void CMailWriter::WriteVerb(const Call& call)
{
    if (call.property.value == kIconReplied)
        call.item->Reply();
    else if (call.property.value == kIconForwarded)
        call.item->Forward();
}

void CMailWriter::WriteImportance(const Call& call)
{
    if (m_recorded.importance == kNoneRecorded.importance || m_recorded.importance == kNoValue)
        return;
    WriteNumber(call);
    m_recorded.importance = static_cast<std::uint16_t>(call.property.value & 0xFFFF);
}

void CMailWriter::WriteSensitivity(const Call& call)
{
    constexpr std::uint32_t kValues = 4;  // none, personal, private, confidential
    if (m_recorded.sensitivity == kNoneRecorded.sensitivity || m_recorded.sensitivity == kNoValue)
        return;
    if (call.property.value < kValues)
        WriteNumber(call);
    m_recorded.sensitivity = static_cast<std::uint16_t>(call.property.value & 0xFFFF);
}

void CMailWriter::WriteFollowupIcon(const Call& call)
{
    if (m_recorded.followupIcon == kNoneRecorded.followupIcon || m_recorded.followupIcon == kNoValue)
        return;
    WriteNumber(call);
    m_recorded.followupIcon = static_cast<std::uint16_t>(call.property.value & 0xFFFF);
}

void CMailWriter::WriteMessageFlags(const Call& call)
{
    constexpr std::u16string_view kSentFolder = u"sent";
    if ((call.property.value & format::messageflag::kRead) != 0)
        call.item->SetFlag(property::UnRead, 0);
    // What lies in the folder of sent mails has been sent, whatever its flags say.
    if ((call.property.value & format::messageflag::kUnsent) != 0 &&
        !platform::EqualsNoCase(call.source.TargetFolderName(), kSentFolder))
        call.item->SetFlag(property::Sent, 0);
}

void CMailWriter::ShowRowWithoutTo(const CRef<IMessageItem>& item)
{
    if (!m_fromSeen)
        ShowCell(kFromCell, {});
    ShowCell(kSubjectCell, item->GetText(property::Subject));
    m_subjectShown = true;
}

void CMailWriter::ShowCell(unsigned cell, std::u16string text)
{
    if (m_showsRow)
        m_frontEnd.Send(platform::ListCellMessage{cell, std::move(text)});
}

}  // namespace pastille::writer
