#include "recovery/ItemClasses.h"

#include <algorithm>
#include <iterator>

#include "platform/Text.h"
#include "writer/ContactProperties.h"

namespace pastille::recovery {
namespace {

using namespace writer;
using enum ItemFamily;

constexpr ClassRule kClassRules[] = {
    {u"IPF.Contact", folderkind::kContacts, Contact},
    {u"IPM.Contact", folderkind::kContacts, Contact},
    {u"IPF.DistList", folderkind::kContacts, Contact},
    {u"IPM.DistList", folderkind::kContacts, Contact},

    {u"IPF.Appointment", folderkind::kCalendar, Appointment},
    {u"IPM.Appointment", folderkind::kCalendar, Appointment},
    {u"IPM.Schedule.Meeting.Canceled", folderkind::kCalendar, Meeting},
    {u"IPM.Schedule.Meeting.Request", folderkind::kCalendar, Meeting},
    {u"IPM.Schedule.Meeting.Resp.Neg", folderkind::kCalendar, Meeting},
    {u"IPM.Schedule.Meeting.Resp.Pos", folderkind::kCalendar, Meeting},
    {u"IPM.Schedule.Meeting.Resp.Tent", folderkind::kCalendar, Meeting},
    {u"IPF.Schedule.Meeting.Canceled", folderkind::kCalendar, Meeting},
    {u"IPF.Schedule.Meeting.Request", folderkind::kCalendar, Meeting},
    {u"IPF.Schedule.Meeting.Resp.Neg", folderkind::kCalendar, Meeting},
    {u"IPF.Schedule.Meeting.Resp.Pos", folderkind::kCalendar, Meeting},
    {u"IPF.Schedule.Meeting.Resp.Tent", folderkind::kCalendar, Meeting},
    {u"IPM.Configuration.HomeTimeZone", folderkind::kCalendar, std::nullopt},
    {u"IPM.Configuration.Calendar", folderkind::kCalendar, std::nullopt},
    {u"IPM.Configuration.AvailabilityOptions", folderkind::kCalendar, std::nullopt},
    {u"IPM.Configuration.WorkHours", folderkind::kCalendar, std::nullopt},

    {u"IPF.Journal", folderkind::kJournal, Journal},
    {u"IPM.Journal", folderkind::kJournal, Journal},
    {u"IPF.Activity", folderkind::kJournal, Journal},
    {u"IPM.Activity", folderkind::kJournal, Journal},

    {u"IPF.StickyNote", folderkind::kNotes, Note},
    {u"IPM.StickyNote", folderkind::kNotes, Note},

    {u"IPM.Task", folderkind::kTasks, Task},
    {u"IPF.Task", folderkind::kTasks, Task},
    {u"IPM.TaskRequest.Decline", folderkind::kTasks, Task},
    {u"IPF.TaskRequest.Decline", folderkind::kTasks, Task},
    {u"IPM.TaskRequest.Update", folderkind::kTasks, Task},
    {u"IPM.TaskRequest", folderkind::kTasks, Task},
    {u"IPF.TaskRequest.Update", folderkind::kTasks, Task},
    {u"IPF.TaskRequest", folderkind::kTasks, Task},

    {u"IPM.ExtendedRule.Message", 0, std::nullopt},
    {u"IPM.Configuration.RssRule", 0, std::nullopt},
    {u"IPM.Microsoft.MigrationStatus", 0, std::nullopt},
    {u"IPM.MessageManager", 0, std::nullopt},
    {u"IPM.Rule.Message", 0, std::nullopt},
};

/// Compared without case.
constexpr std::u16string_view kMailClasses[] = {
    u"IPM.Note",
    u"IPF.Note",
    u"Report.IPM.Note.IPNRN",
    u"Report.IPM.Note.IPNNRN",
    u"Report.IPF.Note.IPNRN",
    u"Report.IPF.Note.IPNNRN",
    u"IPM.Report",
    u"IPF.Report",
    u"REPORT.IPM.Note.NDR",
    u"REPORT.IPF.Note.NDR",
    u"IPM.NOTE.Omtool.NDR",
    u"REPORT.IPM.Note.DR",
    u"REPORT.IPF.Note.DR",
    u"IPM.NOTE.Omtool.DR",
    u"IPF.NOTE.Omtool.DR",
    u"IPM.MessageManager",
};
/// Compared exactly.
constexpr std::u16string_view kBareNoteClass = u"NOTE";

bool IsMailClass(std::u16string_view messageClass)
{
    return messageClass == kBareNoteClass ||
           std::ranges::any_of(kMailClasses, [&](std::u16string_view known) {
               return platform::EqualsNoCase(known, messageClass);
           });
}

/// REQUIRES: at least 3 characters.
bool LooksLikeItemClass(std::u16string_view messageClass)
{
    constexpr std::u16string_view kThirdLetters = u"MFC";
    return messageClass[0] == u'I' || messageClass[1] == u'P' ||
           kThirdLetters.find(messageClass[2]) != std::u16string_view::npos;
}

template <class Interface>
CRef<IMessageItem> Typed(const CRef<IObject>& object)
{
    return QueryInterface<Interface>(object);
}

/// In the order of ItemFamily.
constexpr FamilyTraits kTraits[] = {
    {u"Mail Subject: ", &Typed<IMessageItem>, nullptr, nullptr},
    {u"Contact Subject: ", &Typed<IContactItem>, &property::DisplayName, &kContactTable},
    {u"Task Item: ", &Typed<ITaskItem>, nullptr, &kTaskTable},
    {u"Appointment: ", &Typed<IAppointmentItem>, nullptr, &kAppointmentTable},
    {u"Meeting: ", &Typed<IMeetingItem>, nullptr, &kMeetingTable},
    {u"Journals: ", &Typed<IJournalItem>, nullptr, &kJournalTable},
    {u"Notes: ", &Typed<INoteItem>, nullptr, &kNoteTable},
};
static_assert(std::size(kTraits) == kItemFamilies);

}  // namespace

const ClassRule* FindClassRule(std::u16string_view messageClass)
{
    const auto* found = std::ranges::find(kClassRules, messageClass, &ClassRule::messageClass);
    return found == std::end(kClassRules) ? nullptr : found;
}

ClassJudgement JudgeClass(std::u16string_view messageClass)
{
    using enum ClassJudgement::Fate;
    constexpr std::size_t kShortestClass = 3;
    if (const ClassRule* rule = FindClassRule(messageClass); rule != nullptr && rule->family)
        return {Known, *rule->family};
    if (IsMailClass(messageClass))
        return {Known};
    if (messageClass.size() < kShortestClass)
        return {Nothing};
    return {LooksLikeItemClass(messageClass) ? NoItem : Unknown};
}

const FamilyTraits& TraitsOf(ItemFamily family)
{
    return kTraits[static_cast<std::size_t>(family)];
}

}  // namespace pastille::recovery
