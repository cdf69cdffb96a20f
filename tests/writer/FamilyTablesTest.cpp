#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <set>
#include <sstream>

#include "tests/writer/WriterSupport.h"
#include "writer/FamilyWriter.h"

namespace pastille::tests {
namespace {

using namespace writer;

// What each family keeps: the id and the property that it becomes, by the kind of value.
constexpr char kContact[] = R"(
flag  0002=AlternateRecipientAllowed 0E01=DeleteAfterSubmit 0005=AutoForwarded 0029=ReadReceiptRequested
      0023=OriginatorDeliveryReportRequested 002B=RecipientReassignmentProhibited
number 0017=Importance 1090=FlagStatus 0036=Sensitivity
short 3A4D=Gender
date  0E06=DeliveryTime 3A41=WeddingAnniversary 3A42=Birthday
text  3A00=Account 0C1A=SenderName 0037=Subject 0042=SentRepresentingName 0064=SentRepresentingAddressType
      0065=SentRepresentingEmailAddress 0070=ConversationTopic 0C1E=SenderAddressType 0C1F=SenderEmailAddress
      1000=Body 3001=DisplayName 6619=Body 3A02=CallbackTelephoneNumber 3A05=Generation 3A06=GivenName
      3A07=GovernmentIdNumber 3A08=BusinessTelephoneNumber 3A09=HomeTelephoneNumber 3A0A=Initials
      3A0C=Language 3A0D=OfficeLocation 3A10=OrganizationalIdNumber 3A11=Surname 3A15=PostalAddress
      3A16=CompanyName 3A17=Title 3A18=DepartmentName 3A19=OfficeLocation 3A1A=PrimaryTelephoneNumber
      3A1B=Business2TelephoneNumber 3A1C=MobileTelephoneNumber 3A1D=RadioTelephoneNumber
      3A1E=CarTelephoneNumber 3A1F=OtherTelephoneNumber 3A21=PagerTelephoneNumber 3A23=PrimaryFaxNumber
      3A24=BusinessFaxNumber 3A25=HomeFaxNumber 3A26=Country 3A27=Locality 3A28=StateOrProvince
      3A29=StreetAddress 3A2A=PostalCode 3A2B=PostOfficeBox 3A2C=TelexNumber 3A2D=IsdnNumber
      3A2E=AssistantTelephoneNumber 3A2F=Home2TelephoneNumber 3A30=Assistant 3A43=Hobbies 3A44=MiddleName
      3A45=DisplayNamePrefix 3A46=Profession 3A47=ReferredByName 3A48=SpouseName 3A49=ComputerNetworkName
      3A4A=CustomerId 3A4B=TtyTddPhoneNumber 3A4C=FtpSite 3A4E=ManagerName 3A4F=Nickname
      3A50=PersonalHomePage 3A51=BusinessHomePage 3A57=CompanyMainTelephoneNumber 3A58=ChildrensNames
      3A59=HomeAddressCity 3A5A=HomeAddressCountry 3A5B=HomeAddressPostalCode
      3A5C=HomeAddressStateOrProvince 3A5D=HomeAddressStreet 3A5E=HomeAddressPostOfficeBox
      3A5F=OtherAddressCity 3A60=OtherAddressCountry 3A61=OtherAddressPostalCode
      3A62=OtherAddressStateOrProvince 3A63=OtherAddressStreet 3A64=OtherAddressPostOfficeBox
      8012=NamedText8012 6849=Text6849 8534=Mileage 8535=BillingInformation 801A=HomeAddress
      801B=WorkAddress 801C=OtherAddress 802C=YomiFirstName 802D=YomiLastName 802E=YomiCompanyName
      804F=ContactUserField1 8050=ContactUserField2 8051=ContactUserField3 8052=ContactUserField4
      8062=InstantMessagingAddress 8080=Email1DisplayName 8082=Email1AddressType 8083=Email1EmailAddress
      8090=Email2DisplayName 8092=Email2AddressType 8093=Email2EmailAddress
      80A0=Email3DisplayName 80A2=Email3AddressType 80A3=Email3EmailAddress)";

constexpr char kOfMeetingsAndTasks[] = R"(
flag  8503=ReminderSet 850E=AgingDontAgeMe 851C=ReminderOverride 0002=AlternateRecipientAllowed
      0E01=DeleteAfterSubmit 0005=AutoForwarded 0029=ReadReceiptRequested
      0023=OriginatorDeliveryReportRequested 002B=RecipientReassignmentProhibited
number 0017=Importance 1090=FlagStatus 0036=Sensitivity
date  0E06=DeliveryTime
text  0E02=DisplayBcc 0070=ConversationTopic 0037=Subject 0042=SentRepresentingName
      0064=SentRepresentingAddressType 0065=SentRepresentingEmailAddress 0C1A=SenderName
      0C1E=SenderAddressType 0C1F=SenderEmailAddress 8012=NamedText8012 0E03=DisplayCc 0E04=DisplayTo
      1000=Body 8530=FlagRequest 8539=Companies
)";
constexpr char kOfMeetings[] = "date 8502=ReminderTime ";
constexpr char kOfAppointments[] = R"(
flag  8215=AllDayEvent
number 8205=BusyStatus 8213=Duration
date  820E=End 820D=Start 8560=ReminderSignalTime
text  8208=Location)";
constexpr char kOfTasks[] = R"(
flag  811C=TaskComplete 8108=TaskAccepted
number 8101=TaskStatus
date  810F=TaskDateCompleted 8104=TaskStartDate 8105=TaskDueDate
text  0026=Priority 811F=TaskOwner 8534=Mileage 8535=BillingInformation)";

constexpr char kJournal[] = R"(
flag  8711=DocumentPosted 870E=DocumentPrinted 8710=DocumentRouted 870F=DocumentSaved 8503=ReminderSet
      0023=OriginatorDeliveryReportRequested 0029=ReadReceiptRequested 002B=RecipientReassignmentProhibited
number 8707=LogDuration 0036=Sensitivity 1090=FlagStatus
date  0E06=DeliveryTime 8706=LogStart
text  0E03=DisplayCc 0070=ConversationTopic 0037=Subject 0042=SentRepresentingName
      0064=SentRepresentingAddressType 0065=SentRepresentingEmailAddress 0C1A=SenderName
      0C1E=SenderAddressType 0C1F=SenderEmailAddress 0E02=DisplayBcc 8530=FlagRequest 0E04=DisplayTo
      1000=Body 8012=NamedText8012 8539=Companies 8700=LogType)";

constexpr char kNote[] = R"(
flag  8503=ReminderSet 0023=OriginatorDeliveryReportRequested 0029=ReadReceiptRequested
      002B=RecipientReassignmentProhibited 0002=AlternateRecipientAllowed 0E01=DeleteAfterSubmit
      0005=AutoForwarded
number 8B00=NoteColor 8B02=NoteWidth 8B03=NoteHeight 1090=FlagStatus 0036=Sensitivity
date  0E06=DeliveryTime
text  0037=Subject 0070=ConversationTopic 1000=Body 8012=NamedText8012)";

std::string Hex(std::uint32_t value)
{
    char text[16];
    std::snprintf(text, sizeof text, "%04X", value);
    return text;
}

/// Where other readers look for the property that comes from this id. [MS-OXPROPS]
std::string ExpectedPlace(const std::string& kind, const std::string& id, const std::string& name)
{
    static const std::map<std::string, std::string> kExceptions{{"3A0D", "3A19:001F"},
                                                                {"6619", "1000:001F"},
                                                                {"ChildrensNames", "3A58:101F"},
                                                                {"Companies", "00062008:8539:101F"},
                                                                {"NamedText8012", "00020329:Keywords:101F"}};
    for (const std::string& key : {id, name}) {
        if (const auto found = kExceptions.find(key); found != kExceptions.end())
            return found->second;
    }
    static const std::map<std::string, std::string> kTypes{
        {"flag", "000B"}, {"number", "0003"}, {"short", "0002"}, {"text", "001F"}, {"date", "0040"}};
    // Each property set has a range of long ids of its own.
    static const std::map<std::string, std::string> kSets{{"80", "00062004:"}, {"81", "00062003:"},
                                                          {"82", "00062002:"}, {"85", "00062008:"},
                                                          {"87", "0006200A:"}, {"8B", "0006200E:"}};
    const auto set = kSets.find(id.substr(0, 2));
    return (set == kSets.end() ? "" : set->second) + id + ":" + kTypes.at(kind);
}

std::set<std::string> Expected(const std::string& list)
{
    std::set<std::string> lines;
    std::istringstream words(list);
    std::string kind;
    for (std::string word; words >> word;) {
        const auto equals = word.find('=');
        if (equals == std::string::npos) {
            kind = word;
            continue;
        }
        const std::string id = word.substr(0, equals);
        const std::string name = word.substr(equals + 1);
        lines.insert(kind + " " + id + " " + name + " at " + ExpectedPlace(kind, id, name));
    }
    return lines;
}

std::string Place(const ItemProperty& property)
{
    const std::string type = Hex(static_cast<std::uint32_t>(property.storedType));
    if (property.storage == PropertyStorage::Tag)
        return Hex(property.number) + ":" + type;
    const format::Guid& set = property.propertySet;
    EXPECT_EQ(set, (format::Guid{set.data1, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}}));
    const std::string name = property.storage == PropertyStorage::Named
                                 ? Hex(property.number)
                                 : platform::ToUtf8(property.stringName);
    return "000" + Hex(set.data1) + ":" + name + ":" + type;
}

/// What comes of one value under every id there is.
class CSurvey {
public:
    explicit CSurvey(FamilyTable table) : m_table(table)
    {
        m_component.storeName = u"Store";
        const auto root = m_component.CreateSession()->GetFolderFromPath(u"\\\\Store");
        m_item = QueryInterface<IMessageItem>(root->GetItems()->AddItem(u"IPM.Note"));
        m_source.isOst = true;
        m_value = m_source.Add(Wide(u"text"));
    }

    std::set<std::string> Lines(std::uint16_t type, const std::string& numberKind)
    {
        std::set<std::string> lines;
        FakeItem& item = *m_component.root.items.front();
        for (std::uint32_t id = 0; id <= 0xFFFF; ++id) {
            WriteFamilyProperty(m_table, m_item, {static_cast<std::uint16_t>(id), type, m_value}, m_source);
            if (item.written.empty())
                continue;
            for (const std::string& name : item.written) {
                const std::string kind = item.numbers.contains(name) ? numberKind
                                         : item.dates.contains(name) ? "date"
                                                                     : "text";
                lines.insert(kind + " " + Hex(id) + " " + name + " at " + PlaceOf(name));
            }
            item = FakeItem();
        }
        return lines;
    }

private:
    std::string PlaceOf(const std::string& name) const
    {
        for (const FamilyRow& row : m_table) {
            if (row.target->name == name)
                return Place(*row.target);
        }
        return "nowhere";
    }

    FamilyTable m_table;
    CFakeComponent m_component;
    CValueSource m_source;
    CRef<IMessageItem> m_item;
    std::uint32_t m_value = 0;
};

struct Family {
    const char* name;
    const FamilyTable& table;
    std::string list;
};

class FamilyTables : public testing::TestWithParam<Family> {};

TEST_P(FamilyTables, KeepTheirPropertiesWhereOthersLookForThem)
{
    CSurvey survey(GetParam().table);
    std::set<std::string> lines = survey.Lines(0x000B, "flag");
    lines.merge(survey.Lines(0x0003, "number"));
    lines.merge(survey.Lines(0x0002, "short"));
    const std::set<std::string> ofText = survey.Lines(0x001F, "none");
    EXPECT_EQ(survey.Lines(0x0040, "none"), ofText) << "times meet the rows that texts meet";
    lines.insert(ofText.begin(), ofText.end());
    EXPECT_EQ(lines, Expected(GetParam().list));
}

const std::string kMeeting = std::string(kOfMeetingsAndTasks) + kOfMeetings;

INSTANTIATE_TEST_SUITE_P(
    All, FamilyTables,
    testing::Values(Family{"Contact", kContactTable, kContact},
                    Family{"Appointment", kAppointmentTable, kMeeting + kOfAppointments},
                    Family{"Meeting", kMeetingTable, kMeeting},
                    Family{"Task", kTaskTable, std::string(kOfMeetingsAndTasks) + kOfTasks},
                    Family{"Journal", kJournalTable, kJournal}, Family{"Note", kNoteTable, kNote}),
    [](const auto& family) { return std::string(family.param.name); });

}  // namespace
}  // namespace pastille::tests
