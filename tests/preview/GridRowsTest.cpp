#include "preview/GridRows.h"

#include <gtest/gtest.h>

#include <map>

#include "tests/preview/ShownGrid.h"
#include "writer/ContactProperties.h"
#include "writer/NoteProperties.h"
#include "writer/OleDate.h"
#include "writer/TaskProperties.h"

namespace pastille::tests {
namespace {

using namespace writer;
using preview::GridFamily;

std::u16string NameOf(const ItemProperty& property)
{
    return {property.name.begin(), property.name.end()};
}

// What the rows show, in their order: a text, a date or a number as it is, by the name of a property the
// value that the test gives it.
struct FamilyCase {
    GridFamily family;
    const char16_t* messageClass;
    const char* caption;
    const char* rows;
};
const FamilyCase kFamilies[] = {
    {GridFamily::Contacts, u"IPM.Contact", "DisplayName",
     "Title=DisplayNamePrefix|First Name=GivenName|Middle Name=MiddleName|Last "
     "Name=Surname|Initials=Initials|"
     "Suffix=Generation|Flag Status=77|Company Name=CompanyName|Job Title=Title|Subject=Subject|"
     "On Behalf Name=SentRepresentingName|Email Protocol Type=SentRepresentingAddressType|"
     "Sender Name=SenderName|Sender Email Type=SenderAddressType|Conversation Topic=ConversationTopic|"
     "Sent from EmailAddress=SentRepresentingEmailAddress|Sender Email Address=SenderEmailAddress|"
     "Email Address=Email1EmailAddress|Emai2 Address=Email2EmailAddress|Email3 Address=Email3EmailAddress|"
     "Primary Telephone Number=PrimaryTelephoneNumber|Business Telephone Number=BusinessTelephoneNumber|"
     "Business2 Telephone Number=Business2TelephoneNumber|Home Telephone Number=HomeTelephoneNumber|"
     "Home2 Telephone Number=Home2TelephoneNumber|Callback Telephone Number=CallbackTelephoneNumber|"
     "Mobile Telephone Number=MobileTelephoneNumber|Radio Telephone Number=RadioTelephoneNumber|"
     "Car Telephone Number=CarTelephoneNumber|Telex Number=TelexNumber|Pager Number=PagerTelephoneNumber|"
     "Other Fax Number=PrimaryFaxNumber|Business Fax Number=BusinessFaxNumber|Home Fax Number=HomeFaxNumber|"
     "ISDN Number=IsdnNumber|Assistant Telephone Number=AssistantTelephoneNumber|"
     "TTYTDD Telephone Number=TtyTddPhoneNumber|Other Telephone Number=OtherTelephoneNumber|Content=Body|"
     "Categories=NamedText8012|Contact Account=Account|GovernmentID Number=GovernmentIdNumber|"
     "Language=Language|Office Location=OfficeLocation|Mailing Address=PostalAddress|"
     "Department=DepartmentName|Assistant Name=Assistant|Anniversary=2/29/2012|Birthday=5/4/1871|"
     "Hobby=Hobbies|Profession=Profession|Referred By=ReferredByName|Spouse=SpouseName|"
     "Computer Network Name=ComputerNetworkName|CustomerID=CustomerId|FTP Site=FtpSite|"
     "Manager Name=ManagerName|NickName=Nickname|Children=ChildrensNames|Home Address City=HomeAddressCity|"
     "Home Address Country=HomeAddressCountry|Home Address PostalCode=HomeAddressPostalCode|"
     "Home Address State=HomeAddressStateOrProvince|Home Address Street=HomeAddressStreet|"
     "Home Address PostOfficeBox=HomeAddressPostOfficeBox|Home Address=HomeAddress|"
     "Business Address City=Locality|Business Address Country=Country|"
     "Business Address Postal Code=PostalCode|Business Address State=StateOrProvince|"
     "Business Address Street=StreetAddress|Business Address Post Office Box=PostOfficeBox|"
     "Business Address=WorkAddress|Other Address City=OtherAddressCity|"
     "Other Address Country=OtherAddressCountry|Other Address PostalCode=OtherAddressPostalCode|"
     "Other Address State=OtherAddressStateOrProvince|Other Address Street=OtherAddressStreet|"
     "Other Address PostOfficeBox=OtherAddressPostOfficeBox|Other Address=OtherAddress|"
     "Internet FreeBusy Address=Text6849|IM Address=InstantMessagingAddress|"
     "Email1 DisplayName=Email1DisplayName|Email2 DisplayName=Email2DisplayName|"
     "Email3 DisplayName=Email3DisplayName|Billing Information=BillingInformation|Mileage=Mileage|"
     "Yomi FirstName=YomiFirstName|Yomi LastName=YomiLastName|Yomi CompanyName=YomiCompanyName|"
     "User1=ContactUserField1|User2=ContactUserField2"},
    {GridFamily::Tasks, u"IPM.Task", "Subject",
     "Categories=NamedText8012|Content=Body|On Behalf Name=SentRepresentingName|"
     "Email Protocol Type=SentRepresentingAddressType|Sent from EmailAddress=SentRepresentingEmailAddress|"
     "Sender Email Address=SenderEmailAddress|Conversation Topic=ConversationTopic|Start Date=3/1/2011|"
     "Due Date=12/31/1999|Received Time=14:5:9:42|Date Completed=10/9/2024|Sender Name=SenderName|"
     "Sender Email Type=SenderAddressType|Flag Request=FlagRequest|Billing Information=BillingInformation|"
     "Mileage=Mileage|Companies=Companies|Owner=TaskOwner|Schedule Plus Priority=Priority|Flag Status=77|"
     "Task Status=Task Waiting|Sensitivity=Confidential|Importance=High|Complete=TaskComplete|"
     "Reminder Set=ReminderSet|ReminderOverrideDefault Set=ReminderOverride|"
     "OriginatorDeliveryReportRequested Set=OriginatorDeliveryReportRequested|"
     "ReadReceiptRequested Set=ReadReceiptRequested|AlternateRecipientAllowed Set=AlternateRecipientAllowed|"
     "DeleteAfterSubmit Set=DeleteAfterSubmit|AutoForwarded Set=AutoForwarded"},
    {GridFamily::Calendar, u"IPM.Appointment", "Subject",
     "Content=Body|Location=Location|ReminderOverrideDefault Set=ReminderOverride|"
     "AlternateRecipientAllowed Set=AlternateRecipientAllowed|"
     "OriginatorDeliveryReportRequested Set=OriginatorDeliveryReportRequested|"
     "ReadReceiptRequested Set=ReadReceiptRequested|DeleteAfterSubmit Set=DeleteAfterSubmit|"
     "AutoForwarded Set=AutoForwarded|ResponseRequested Set=ResponseRequested|Reminder Set=ReminderSet|"
     "AllDayEvent Set=AllDayEvent|FlagStatus=77|Sensitivity=Confidential|Importance=High|"
     "On Behalf Name=SentRepresentingName|Email Protocol Type=SentRepresentingAddressType|"
     "Sender Name=SenderName|Sender Email Type=SenderAddressType|Conversation Topic=ConversationTopic|"
     "Sent from EmailAddress=SentRepresentingEmailAddress|Sender Email Address=SenderEmailAddress|"
     "Start Date=3/1/2011|End Date=10/9/2024|Received Time=14:5:9:42|Categories=NamedText8012|"
     "Flag Request=FlagRequest"},
    {GridFamily::Journals, u"IPM.Activity", "Subject",
     "Doc Posted=DocumentPosted|Doc Printed=DocumentPrinted|Doc Saved=DocumentSaved|"
     "Doc Routed=DocumentRouted|Reminder Set=ReminderSet|Read Receipt Requested=ReadReceiptRequested|"
     "Recipient Reassignment Prohibited=RecipientReassignmentProhibited|Flag Status=77|"
     "Sensitivity=Confidential|Categories=NamedText8012|Flag Request=FlagRequest|Content=Body|"
     "On Behalf Name=SentRepresentingName|Email Protocol Type=SentRepresentingAddressType|"
     "Sender Name=SenderName|Sender Email Type=SenderAddressType|Conversation Topic=ConversationTopic|"
     "Sent from EmailAddress=SentRepresentingEmailAddress|Sender Email Address=SenderEmailAddress|"
     "Start Date=3/1/2011|Received Time=14:5:9:42"},
    {GridFamily::Notes, u"IPM.StickyNote", "Subject",
     "OriginatorDeliveryReportRequested Set=OriginatorDeliveryReportRequested|ReminderSet Set=ReminderSet|"
     "ReadReceiptRequested Set=ReadReceiptRequested|"
     "RecipientReassignmentProhibited Set=RecipientReassignmentProhibited|"
     "AlternateRecipientAllowed Set=AlternateRecipientAllowed|DeleteAfterSubmit Set=DeleteAfterSubmit|"
     "AutoForwarded Set=AutoForwarded|ReminderOverrideDefault Set=ReminderOverride|Categories=NamedText8012|"
     "Content=Body|ConversationTopic=ConversationTopic|ReceivedTime=14:5:9:42|FlagStatus=77|Color=Yellow|"
     "Sensitivity=Confidential|Width=640|Height=-3"},
};

const std::map<std::string_view, double> kDates{
    {"WeddingAnniversary", 40968}, {"Birthday", -10467.5},      {"TaskStartDate", 40603.9},
    {"TaskDueDate", 36525},        {"DeliveryTime", kReceived}, {"TaskDateCompleted", 45574},
    {"Start", 40603.25},           {"End", 45574.999},          {"LogStart", 40603},
};
const std::map<std::string_view, std::int32_t> kNumbers{
    {"FlagStatus", 77}, {"Sensitivity", 3}, {"Importance", 2},  {"TaskStatus", 3},
    {"NoteColor", 3},   {"NoteWidth", 640}, {"NoteHeight", -3},
};

/// Gives each property of a family a value of its own, a text its name; flags stay clear.
void SetAll(IMessageItem& item, GridFamily family)
{
    item.SetText(property::Subject, NameOf(property::Subject));
    item.SetText(property::DisplayName, NameOf(property::DisplayName));
    for (const preview::GridRow& row : preview::GridTableOf(family).rows) {
        const ItemProperty& property = *row.property;
        if (property.kind == PropertyKind::Text)
            item.SetText(property, NameOf(property));
        else if (property.kind == PropertyKind::Date)
            item.SetDate(property, kDates.at(property.name));
        else if (property.kind == PropertyKind::Number)
            item.SetNumber(property, kNumbers.at(property.name));
    }
}

/// After the item that has everything else, an item for each flag that has only this one and its name.
void AddFlagItems(IStoreFolder& folder, const FamilyCase& given)
{
    for (const preview::GridRow& row : preview::GridTableOf(given.family).rows) {
        if (row.property->kind != PropertyKind::Flag)
            continue;
        AddItem(folder, given.messageClass, [&](IMessageItem& item) {
            item.SetText(property::Subject, NameOf(*row.property));
            item.SetFlag(*row.property, 1);
        });
    }
}

/// The first category's rows, those of flags with the names of the items that say "Yes" in them.
QStringList Rows(const std::vector<QStringList>& categories)
{
    QStringList rows = categories.front().mid(1);
    for (QString& row : rows) {
        if (!row.endsWith(QStringLiteral("=No")))
            continue;
        row.chop(2);
        for (const QStringList& category : categories) {
            if (category.contains(row + QStringLiteral("Yes")))
                row += category.front();
        }
    }
    return rows;
}

TEST(GridRowsTest, EachRowShowsItsProperty)
{
    CShownGrid grid;
    for (const FamilyCase& given : kFamilies) {
        SCOPED_TRACE(preview::GridTableOf(given.family).rows.size());
        const auto store = StoreOf([&](IStoreFolder& folder) {
            AddItem(folder, given.messageClass, [&](IMessageItem& item) { SetAll(item, given.family); });
            AddFlagItems(folder, given);
        });
        grid.Fill(given.family, store->Open());
        const auto categories = grid.Categories();
        ASSERT_FALSE(categories.empty());
        EXPECT_EQ(categories[0][0], QString::fromLatin1(given.caption));
        EXPECT_EQ(Rows(categories), QString::fromLatin1(given.rows).split(u'|'));
    }
}

TEST(GridRowsTest, NumbersWithNamesAreEmptyBeyondThem)
{
    const auto store = StoreOf([](IStoreFolder& folder) {
        for (std::int32_t number = -1; number <= 5; ++number) {
            AddItem(folder, u"IPM.Task", [&](IMessageItem& item) {
                for (const ItemProperty* property : {&property::Sensitivity, &property::Importance,
                                                     &property::TaskStatus, &property::NoteColor})
                    item.SetNumber(*property, number);
            });
        }
    });
    CShownGrid grid;
    const auto values = [&](GridFamily family, const char* label) {
        grid.Fill(family, store->Open());
        QStringList shown;
        for (const QStringList& category : grid.Categories())
            shown.append(ValueOf(category, QString::fromLatin1(label)));
        return shown.join(u'|');
    };
    EXPECT_EQ(values(GridFamily::Tasks, "Sensitivity"),
              QStringLiteral("|Normal|Personal|Private|Confidential||"));
    EXPECT_EQ(values(GridFamily::Tasks, "Importance"), QStringLiteral("||Normal|High|||"));
    EXPECT_EQ(values(GridFamily::Tasks, "Task Status"),
              QStringLiteral("|Task Not Started|Task In Progress|Task Complete|Task Waiting|Task Deferred|"));
    EXPECT_EQ(values(GridFamily::Notes, "Color"), QStringLiteral("|Blue|Green|Pink|Yellow|White|"));
}

TEST(GridRowsTest, WhatAnItemLacksIsEmpty)
{
    const auto store = StoreOf([](IStoreFolder& folder) {
        AddItem(folder, u"IPM.Contact", [](IMessageItem& item) {
            item.SetText(property::Subject, u"Only a subject");
            item.SetDate(property::Birthday, kNoDate);
        });
        AddItem(folder, u"IPM.Contact", [](IMessageItem&) {});
        AddItem(folder, u"IPM.Contact", [](IMessageItem& item) {
            item.SetText(property::DisplayName, u"Ann\r\nAbel\u202E");
            item.SetDate(property::DeliveryTime, kReceived);
        });
    });
    CShownGrid grid;
    grid.Fill(GridFamily::Contacts, store->Open());
    auto categories = grid.Categories();
    ASSERT_EQ(categories.size(), 3u);
    EXPECT_EQ(categories[0][0], QStringLiteral("Only a subject"));
    EXPECT_EQ(categories[1][0], QStringLiteral("UnKnown"));
    EXPECT_EQ(categories[2][0], QStringLiteral("Ann  Abel\uFFFD"));
    for (const char* label : {"Birthday", "Anniversary", "Content", "Title"})
        EXPECT_EQ(ValueOf(categories[0], QString::fromLatin1(label)), QString()) << label;

    // The row of the received time is there only with a time; those after it keep their values.
    grid.Fill(GridFamily::Notes, store->Open());
    categories = grid.Categories();
    EXPECT_EQ(ValueOf(categories[0], QStringLiteral("ReceivedTime")), QStringLiteral("(none)"));
    EXPECT_EQ(categories[0].size(), 1 + 16);
    EXPECT_EQ(ValueOf(categories[0], QStringLiteral("Color")), QStringLiteral("Blue"));
    EXPECT_EQ(ValueOf(categories[0], QStringLiteral("Height")), QStringLiteral("0"));
    EXPECT_EQ(categories[2].size(), 1 + 17);

    grid.Fill(GridFamily::Notes, store->Open(), u"\\No such folder");
    EXPECT_TRUE(grid.Categories().empty());
}

}  // namespace
}  // namespace pastille::tests
