#include "writer/FamilyWriter.h"

#include "writer/AppointmentProperties.h"
#include "writer/FamilyRows.h"

namespace pastille::writer {
namespace {

namespace lid = format::lid;
using enum FamilyValue;

constexpr FamilyRow kReminderTimeRows[] = {
    {lid::kReminderTime, Date, &property::ReminderTime},
};

constexpr FamilyRow kOnlyAppointmentRows[] = {
    {lid::kAppointmentSubType, Flag, &property::AllDayEvent},
    {lid::kBusyStatus, Number, &property::BusyStatus},
    {lid::kAppointmentDuration, Number, &property::Duration},
    {lid::kAppointmentStartWhole, Date, &property::Start},
    {lid::kAppointmentEndWhole, Date, &property::End},
    {lid::kLocation, Text, &property::Location},
    {lid::kReminderSignalTime, Date, &property::ReminderSignalTime},
};

constexpr auto kMeetingRows =
    SortedRows(kEveryItemRows, kImportanceRows, kRequestFlagRows, kRoutingFlagRows, kSenderRows,
               kRecipientRows, kReminderSetRows, kReminderRuleRows, kReminderTimeRows);
static_assert(AreUnique(kMeetingRows));

constexpr auto kAppointmentRows =
    SortedRows(kEveryItemRows, kImportanceRows, kRequestFlagRows, kRoutingFlagRows, kSenderRows,
               kRecipientRows, kReminderSetRows, kReminderRuleRows, kReminderTimeRows, kOnlyAppointmentRows);
static_assert(AreUnique(kAppointmentRows));

}  // namespace

constinit const FamilyTable kAppointmentTable = kAppointmentRows;
constinit const FamilyTable kMeetingTable = kMeetingRows;

}  // namespace pastille::writer
