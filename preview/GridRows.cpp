#include "preview/GridRows.h"

#include <algorithm>
#include <utility>

#include "writer/AppointmentProperties.h"
#include "writer/ContactProperties.h"
#include "writer/JournalProperties.h"
#include "writer/NoteProperties.h"
#include "writer/TaskProperties.h"

namespace pastille::preview {
namespace {

using namespace writer::property;
using writer::ItemProperty;
using writer::PropertyKind;

/// PidTagResponseRequested. [MS-OXOCAL] 2.2.1.36
constexpr ItemProperty ResponseRequested = Flag("ResponseRequested", 0x0063);

constexpr GridRow TextRow(std::u16string_view label, const ItemProperty& property)
{
    return {label, &property, GridValue::Text};
}
constexpr GridRow FlagRow(std::u16string_view label, const ItemProperty& property)
{
    return {label, &property, GridValue::Flag};
}
constexpr GridRow NumberRow(std::u16string_view label, const ItemProperty& property)
{
    return {label, &property, GridValue::Number};
}
constexpr GridRow DateRow(std::u16string_view label, const ItemProperty& property)
{
    return {label, &property, GridValue::Date};
}

// Labels are the established ones, odd spellings included.

constexpr GridRow kContactRows[] = {
    TextRow(u"Title", DisplayNamePrefix),
    TextRow(u"First Name", GivenName),
    TextRow(u"Middle Name", MiddleName),
    TextRow(u"Last Name", Surname),
    TextRow(u"Initials", Initials),
    TextRow(u"Suffix", Generation),
    NumberRow(u"Flag Status", FlagStatus),
    TextRow(u"Company Name", CompanyName),
    TextRow(u"Job Title", Title),
    TextRow(u"Subject", Subject),
    TextRow(u"On Behalf Name", SentRepresentingName),
    TextRow(u"Email Protocol Type", SentRepresentingAddressType),
    TextRow(u"Sender Name", SenderName),
    TextRow(u"Sender Email Type", SenderAddressType),
    TextRow(u"Conversation Topic", ConversationTopic),
    TextRow(u"Sent from EmailAddress", SentRepresentingEmailAddress),
    TextRow(u"Sender Email Address", SenderEmailAddress),
    TextRow(u"Email Address", Email1EmailAddress),
    TextRow(u"Emai2 Address", Email2EmailAddress),
    TextRow(u"Email3 Address", Email3EmailAddress),
    TextRow(u"Primary Telephone Number", PrimaryTelephoneNumber),
    TextRow(u"Business Telephone Number", BusinessTelephoneNumber),
    TextRow(u"Business2 Telephone Number", Business2TelephoneNumber),
    TextRow(u"Home Telephone Number", HomeTelephoneNumber),
    TextRow(u"Home2 Telephone Number", Home2TelephoneNumber),
    TextRow(u"Callback Telephone Number", CallbackTelephoneNumber),
    TextRow(u"Mobile Telephone Number", MobileTelephoneNumber),
    TextRow(u"Radio Telephone Number", RadioTelephoneNumber),
    TextRow(u"Car Telephone Number", CarTelephoneNumber),
    TextRow(u"Telex Number", TelexNumber),
    TextRow(u"Pager Number", PagerTelephoneNumber),
    TextRow(u"Other Fax Number", PrimaryFaxNumber),
    TextRow(u"Business Fax Number", BusinessFaxNumber),
    TextRow(u"Home Fax Number", HomeFaxNumber),
    TextRow(u"ISDN Number", IsdnNumber),
    TextRow(u"Assistant Telephone Number", AssistantTelephoneNumber),
    TextRow(u"TTYTDD Telephone Number", TtyTddPhoneNumber),
    TextRow(u"Other Telephone Number", OtherTelephoneNumber),
    TextRow(u"Content", Body),
    TextRow(u"Categories", NamedText8012),
    TextRow(u"Contact Account", Account),
    TextRow(u"GovernmentID Number", GovernmentIdNumber),
    TextRow(u"Language", Language),
    TextRow(u"Office Location", OfficeLocation),
    TextRow(u"Mailing Address", PostalAddress),
    TextRow(u"Department", DepartmentName),
    TextRow(u"Assistant Name", Assistant),
    DateRow(u"Anniversary", WeddingAnniversary),
    DateRow(u"Birthday", Birthday),
    TextRow(u"Hobby", Hobbies),
    TextRow(u"Profession", Profession),
    TextRow(u"Referred By", ReferredByName),
    TextRow(u"Spouse", SpouseName),
    TextRow(u"Computer Network Name", ComputerNetworkName),
    TextRow(u"CustomerID", CustomerId),
    TextRow(u"FTP Site", FtpSite),
    TextRow(u"Manager Name", ManagerName),
    TextRow(u"NickName", Nickname),
    TextRow(u"Children", ChildrensNames),
    TextRow(u"Home Address City", HomeAddressCity),
    TextRow(u"Home Address Country", HomeAddressCountry),
    TextRow(u"Home Address PostalCode", HomeAddressPostalCode),
    TextRow(u"Home Address State", HomeAddressStateOrProvince),
    TextRow(u"Home Address Street", HomeAddressStreet),
    TextRow(u"Home Address PostOfficeBox", HomeAddressPostOfficeBox),
    TextRow(u"Home Address", HomeAddress),
    TextRow(u"Business Address City", Locality),
    TextRow(u"Business Address Country", Country),
    TextRow(u"Business Address Postal Code", PostalCode),
    TextRow(u"Business Address State", StateOrProvince),
    TextRow(u"Business Address Street", StreetAddress),
    TextRow(u"Business Address Post Office Box", PostOfficeBox),
    TextRow(u"Business Address", WorkAddress),
    TextRow(u"Other Address City", OtherAddressCity),
    TextRow(u"Other Address Country", OtherAddressCountry),
    TextRow(u"Other Address PostalCode", OtherAddressPostalCode),
    TextRow(u"Other Address State", OtherAddressStateOrProvince),
    TextRow(u"Other Address Street", OtherAddressStreet),
    TextRow(u"Other Address PostOfficeBox", OtherAddressPostOfficeBox),
    TextRow(u"Other Address", OtherAddress),
    TextRow(u"Internet FreeBusy Address", Text6849),
    TextRow(u"IM Address", InstantMessagingAddress),
    TextRow(u"Email1 DisplayName", Email1DisplayName),
    TextRow(u"Email2 DisplayName", Email2DisplayName),
    TextRow(u"Email3 DisplayName", Email3DisplayName),
    TextRow(u"Billing Information", BillingInformation),
    TextRow(u"Mileage", Mileage),
    TextRow(u"Yomi FirstName", YomiFirstName),
    TextRow(u"Yomi LastName", YomiLastName),
    TextRow(u"Yomi CompanyName", YomiCompanyName),
    TextRow(u"User1", ContactUserField1),
    TextRow(u"User2", ContactUserField2),
};

constexpr GridRow kTaskRows[] = {
    TextRow(u"Categories", NamedText8012),
    TextRow(u"Content", Body),
    TextRow(u"On Behalf Name", SentRepresentingName),
    TextRow(u"Email Protocol Type", SentRepresentingAddressType),
    TextRow(u"Sent from EmailAddress", SentRepresentingEmailAddress),
    TextRow(u"Sender Email Address", SenderEmailAddress),
    TextRow(u"Conversation Topic", ConversationTopic),
    DateRow(u"Start Date", TaskStartDate),
    DateRow(u"Due Date", TaskDueDate),
    {u"Received Time", &DeliveryTime, GridValue::ReceivedTime},
    DateRow(u"Date Completed", TaskDateCompleted),
    TextRow(u"Sender Name", SenderName),
    TextRow(u"Sender Email Type", SenderAddressType),
    TextRow(u"Flag Request", FlagRequest),
    TextRow(u"Billing Information", BillingInformation),
    TextRow(u"Mileage", Mileage),
    TextRow(u"Companies", Companies),
    TextRow(u"Owner", TaskOwner),
    TextRow(u"Schedule Plus Priority", Priority),
    NumberRow(u"Flag Status", FlagStatus),
    {u"Task Status", &TaskStatus, GridValue::TaskStatus},
    {u"Sensitivity", &Sensitivity, GridValue::Sensitivity},
    {u"Importance", &Importance, GridValue::Importance},
    FlagRow(u"Complete", TaskComplete),
    FlagRow(u"Reminder Set", ReminderSet),
    FlagRow(u"ReminderOverrideDefault Set", ReminderOverride),
    FlagRow(u"OriginatorDeliveryReportRequested Set", OriginatorDeliveryReportRequested),
    FlagRow(u"ReadReceiptRequested Set", ReadReceiptRequested),
    FlagRow(u"AlternateRecipientAllowed Set", AlternateRecipientAllowed),
    FlagRow(u"DeleteAfterSubmit Set", DeleteAfterSubmit),
    FlagRow(u"AutoForwarded Set", AutoForwarded),
};

constexpr GridRow kCalendarRows[] = {
    TextRow(u"Content", Body),
    TextRow(u"Location", Location),
    FlagRow(u"ReminderOverrideDefault Set", ReminderOverride),
    FlagRow(u"AlternateRecipientAllowed Set", AlternateRecipientAllowed),
    FlagRow(u"OriginatorDeliveryReportRequested Set", OriginatorDeliveryReportRequested),
    FlagRow(u"ReadReceiptRequested Set", ReadReceiptRequested),
    FlagRow(u"DeleteAfterSubmit Set", DeleteAfterSubmit),
    FlagRow(u"AutoForwarded Set", AutoForwarded),
    FlagRow(u"ResponseRequested Set", ResponseRequested),
    FlagRow(u"Reminder Set", ReminderSet),
    FlagRow(u"AllDayEvent Set", AllDayEvent),
    NumberRow(u"FlagStatus", FlagStatus),
    {u"Sensitivity", &Sensitivity, GridValue::Sensitivity},
    {u"Importance", &Importance, GridValue::Importance},
    TextRow(u"On Behalf Name", SentRepresentingName),
    TextRow(u"Email Protocol Type", SentRepresentingAddressType),
    TextRow(u"Sender Name", SenderName),
    TextRow(u"Sender Email Type", SenderAddressType),
    TextRow(u"Conversation Topic", ConversationTopic),
    TextRow(u"Sent from EmailAddress", SentRepresentingEmailAddress),
    TextRow(u"Sender Email Address", SenderEmailAddress),
    DateRow(u"Start Date", Start),
    DateRow(u"End Date", End),
    {u"Received Time", &DeliveryTime, GridValue::ReceivedTime},
    TextRow(u"Categories", NamedText8012),
    TextRow(u"Flag Request", FlagRequest),
};

constexpr GridRow kJournalRows[] = {
    FlagRow(u"Doc Posted", DocumentPosted),
    FlagRow(u"Doc Printed", DocumentPrinted),
    FlagRow(u"Doc Saved", DocumentSaved),
    FlagRow(u"Doc Routed", DocumentRouted),
    FlagRow(u"Reminder Set", ReminderSet),
    FlagRow(u"Read Receipt Requested", ReadReceiptRequested),
    FlagRow(u"Recipient Reassignment Prohibited", RecipientReassignmentProhibited),
    NumberRow(u"Flag Status", FlagStatus),
    {u"Sensitivity", &Sensitivity, GridValue::Sensitivity},
    TextRow(u"Categories", NamedText8012),
    TextRow(u"Flag Request", FlagRequest),
    TextRow(u"Content", Body),
    TextRow(u"On Behalf Name", SentRepresentingName),
    TextRow(u"Email Protocol Type", SentRepresentingAddressType),
    TextRow(u"Sender Name", SenderName),
    TextRow(u"Sender Email Type", SenderAddressType),
    TextRow(u"Conversation Topic", ConversationTopic),
    TextRow(u"Sent from EmailAddress", SentRepresentingEmailAddress),
    TextRow(u"Sender Email Address", SenderEmailAddress),
    DateRow(u"Start Date", LogStart),
    {u"Received Time", &DeliveryTime, GridValue::ReceivedTime},
};

constexpr GridRow kNoteRows[] = {
    FlagRow(u"OriginatorDeliveryReportRequested Set", OriginatorDeliveryReportRequested),
    FlagRow(u"ReminderSet Set", ReminderSet),
    FlagRow(u"ReadReceiptRequested Set", ReadReceiptRequested),
    FlagRow(u"RecipientReassignmentProhibited Set", RecipientReassignmentProhibited),
    FlagRow(u"AlternateRecipientAllowed Set", AlternateRecipientAllowed),
    FlagRow(u"DeleteAfterSubmit Set", DeleteAfterSubmit),
    FlagRow(u"AutoForwarded Set", AutoForwarded),
    FlagRow(u"ReminderOverrideDefault Set", ReminderOverride),
    TextRow(u"Categories", NamedText8012),
    TextRow(u"Content", Body),
    TextRow(u"ConversationTopic", ConversationTopic),
    {u"ReceivedTime", &DeliveryTime, GridValue::ReceivedTime},
    NumberRow(u"FlagStatus", FlagStatus),
    {u"Color", &NoteColor, GridValue::NoteColor},
    {u"Sensitivity", &Sensitivity, GridValue::Sensitivity},
    NumberRow(u"Width", NoteWidth),
    NumberRow(u"Height", NoteHeight),
};

constexpr PropertyKind KindOf(GridValue value)
{
    switch (value) {
        case GridValue::Text:
            return PropertyKind::Text;
        case GridValue::Flag:
            return PropertyKind::Flag;
        case GridValue::Date:
        case GridValue::ReceivedTime:
            return PropertyKind::Date;
        default:
            return PropertyKind::Number;
    }
}

constexpr bool IsSound(std::span<const GridRow> rows)
{
    return std::ranges::all_of(rows,
                               [](const GridRow& row) { return row.property->kind == KindOf(row.value); }) &&
           std::ranges::count(rows, GridValue::ReceivedTime, &GridRow::value) <= 1;
}
static_assert(IsSound(kContactRows) && IsSound(kTaskRows) && IsSound(kCalendarRows) &&
              IsSound(kJournalRows) && IsSound(kNoteRows));

constexpr GridTable kContacts{u"Updating Contacts", &DisplayName, &Subject, kContactRows};
constexpr GridTable kTasks{u"Updating Tasks", &Subject, nullptr, kTaskRows};
constexpr GridTable kCalendar{u"Updating Calendars", &Subject, nullptr, kCalendarRows};
constexpr GridTable kNotes{u"Updating Notes", &Subject, nullptr, kNoteRows};
constexpr GridTable kJournals{u"Updating Journals", &Subject, nullptr, kJournalRows};

}  // namespace

const GridTable& GridTableOf(GridFamily family)
{
    switch (family) {
        case GridFamily::Contacts:
            return kContacts;
        case GridFamily::Tasks:
            return kTasks;
        case GridFamily::Calendar:
            return kCalendar;
        case GridFamily::Notes:
            return kNotes;
        case GridFamily::Journals:
            break;
    }
    return kJournals;
}

}  // namespace pastille::preview
