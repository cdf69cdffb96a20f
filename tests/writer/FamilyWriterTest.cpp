#include "writer/FamilyWriter.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/support/StoreFamilies.h"
#include "tests/writer/WriterSupport.h"

namespace pastille::tests {
namespace {

using namespace writer;

constexpr double kYear1601 = -109'205.0;

struct FamilyFixture : WriterFixture {
    FamilyFixture() : WriterFixture(u"IPM.Contact") {}

    void Write(FamilyTable table, std::uint16_t id, std::uint16_t type, std::uint32_t value)
    {
        WriteFamilyProperty(table, item, {id, type, value}, source);
    }
    void WriteBytes(FamilyTable table, std::uint16_t id, std::uint16_t type, std::string bytes)
    {
        Write(table, id, type, source.Add(std::move(bytes)));
    }
    void WriteText(FamilyTable table, std::uint16_t id, std::u16string_view text)
    {
        WriteBytes(table, id, kString, Wide(text));
    }
    /// A value word that the block test lets through.
    std::uint32_t Within(std::uint32_t value)
    {
        source.values.try_emplace(value);
        return value;
    }
};

class FamilyWriterTest : public testing::Test, public FamilyFixture {};

TEST_F(FamilyWriterTest, TheFirstTextWins)
{
    WriteText(kContactTable, 0x3A0D, u"");
    WriteText(kContactTable, 0x3A0D, u"room 1");
    WriteText(kContactTable, 0x3A19, u"room 2");
    EXPECT_EQ(Item().Text("OfficeLocation"), u"room 1");
    EXPECT_EQ(Item().written, (std::vector<std::string>{"OfficeLocation"})) << "an empty text is not written";

    Item().texts["Subject"] = u"what the component gave it";
    WriteText(kNoteTable, 0x0037, u"");
    WriteText(kNoteTable, 0x0037, u"late");
    EXPECT_EQ(Item().Text("Subject"), u"what the component gave it");
}

TEST_F(FamilyWriterTest, OtherValuesReplaceWhatIsThere)
{
    for (const std::uint32_t day : {109'205u, 109'207u})
        WriteBytes(kTaskTable, 0x8105, kTime, Packed(day * std::uint64_t{864'000'000'000}));
    EXPECT_DOUBLE_EQ(Item().dates["TaskDueDate"], 2.0);
    for (const std::uint32_t value : {0x00010001u, 0xFFFF0000u})
        Write(kTaskTable, 0x811C, kBoolean, Within(value));
    EXPECT_EQ(Item().numbers["TaskComplete"], 0) << "the low half";
    Write(kTaskTable, 0x811C, kBoolean, Within(0x0000FFFF));
    EXPECT_EQ(Item().numbers["TaskComplete"], -1);
    for (const std::uint32_t value : {1u, 0x80000002u})
        Write(kTaskTable, 0x8101, kLong, Within(value));
    EXPECT_EQ(Item().numbers["TaskStatus"], static_cast<std::int32_t>(0x80000002)) << "the whole word";
    Write(kContactTable, 0x3A4D, kShort, Within(0x00050002));
    EXPECT_EQ(Item().numbers["Gender"], 2) << "the low half";
    EXPECT_EQ(component.CountCalls("Get"), 1u) << "only the root folder was asked for";
}

TEST_F(FamilyWriterTest, AValueOfTheWrongTypeCostsOnlyItself)
{
    Write(kTaskTable, 0x0026, kLong, Within(1));     // priority is kept as a text only
    Write(kTaskTable, 0x811C, kLong, Within(1));     // a flag
    Write(kTaskTable, 0x8101, kBoolean, Within(1));  // a number
    Write(kContactTable, 0x3A4D, kLong, Within(2));  // 16 bits
    WriteText(kContactTable, 0x0017, u"high");       // a number
    WriteBytes(kContactTable, 0x3A42, kBinary, "12345678");
    WriteBytes(kContactTable, 0x3A00, kBinary, "12345678");
    Write(kContactTable, 0x3A00, kString, Within(0x40));
    WriteText(kContactTable, 0x3A41, u"");
    EXPECT_TRUE(Item().written.empty());

    WriteText(kContactTable, 0x3A41, u"1 May");
    WriteBytes(kContactTable, 0x3A42, kTime, "1234567");
    WriteBytes(kContactTable, 0x3A00, kTime, "12345678");
    WriteText(kContactTable, 0x3A11, u"Ayd\u0131n");
    EXPECT_EQ(Item().dates["WeddingAnniversary"], 0.0) << "a text in the place of a date";
    EXPECT_EQ(Item().dates["Birthday"], kYear1601) << "not 8 bytes";
    EXPECT_EQ(Item().Text("Account"), u"") << "a date in the place of a text";
    EXPECT_EQ(Item().Text("Surname"), u"Ayd\u0131n");
    EXPECT_EQ(Item().written.size(), 4u);
}

TEST_F(FamilyWriterTest, NamedPropertiesAreFoundThroughTheMap)
{
    const std::string day = Packed(std::uint64_t{109'206} * 864'000'000'000);
    WriteBytes(kAppointmentTable, 0x8010, kTime, day);
    WriteText(kContactTable, 0x8FFF, u"home");
    EXPECT_TRUE(Item().written.empty()) << "ids that the map does not know";
    source.names.AddPair(0x820D, 0x8010);
    source.names.AddPair(0x801A, 0x8FFF);
    source.names.AddPair(0x8B02, 0x8503);
    source.names.AddPair(0x8700, 0x9000);
    WriteBytes(kMeetingTable, 0x8010, kTime, day);
    WriteText(kJournalTable, 0x9000, u"call");
    EXPECT_TRUE(Item().written.empty()) << "no start of a meeting, and no named id beyond 0x8FFF";
    WriteBytes(kAppointmentTable, 0x8010, kTime, day);
    WriteText(kContactTable, 0x8FFF, u"home");
    Write(kNoteTable, 0x8503, kLong, Within(300));
    Write(kNoteTable, 0x8503, kBoolean, Within(1));  // is the width here, and no flag
    EXPECT_EQ(Item().written, (std::vector<std::string>{"Start", "HomeAddress", "NoteWidth"}));
    EXPECT_DOUBLE_EQ(Item().dates["Start"], 1.0);
}

TEST_F(FamilyWriterTest, FailuresLeaveWithWhatWasWrittenInPlace)
{
    WriteText(kContactTable, 0x3A11, u"Ann");
    component.FailCalls("SetText:Account", E_FAIL);
    EXPECT_THROW(WriteText(kContactTable, 0x3A00, u"x"), _com_error);
    EXPECT_EQ(Item().written, (std::vector<std::string>{"Surname"}));
    for (const std::uint16_t id : {std::uint16_t{0x3A00}, std::uint16_t{0x1234}}) {
        try {
            WriteFamilyProperty(kContactTable, {}, {id, kString, 0x20}, source);
            ADD_FAILURE() << "wrote to no item";
        } catch (const _com_error& error) {
            EXPECT_EQ(error.Error(), E_POINTER);
        }
    }
}

using Ids = std::set<std::uint32_t>;

/// Ids and long ids of what a family's items keep.
Ids KeptIds(std::u16string_view messageClass)
{
    const StoreMessage item = MakeFamilySample(messageClass, {.isOst = true}).message;
    Ids ids;
    for (const StoreProperty& property : item.properties)
        ids.insert(property.id);
    for (const StoreNamedProperty& property : item.named)
        ids.insert(property.name.lid);
    if (messageClass == u"IPM.Contact")
        ids.insert(0x6619);  // the body of a contact of an OST
    return ids;
}

/// The ids under which a value of any type becomes a property of an item.
Ids WrittenIds(FamilyTable table)
{
    FamilyFixture fixture;
    fixture.source.isOst = true;
    const std::uint32_t value = fixture.source.Add(Wide(u"text"));
    Ids ids;
    for (std::uint32_t id = 0; id <= 0xFFFF; ++id) {
        for (const std::uint16_t type : {kShort, kLong, kBoolean, kString, kTime})
            fixture.Write(table, static_cast<std::uint16_t>(id), type, value);
        if (!fixture.Item().written.empty())
            ids.insert(id);
        fixture.Item() = FakeItem();
    }
    return ids;
}

// That each value comes to its place is shown by whole repairs.
TEST(FamilyTables, KeepWhatTheyAreToKeepAndNothingElse)
{
    const std::pair<const FamilyTable&, std::u16string_view> families[] = {
        {kContactTable, u"IPM.Contact"},
        {kAppointmentTable, u"IPM.Appointment"},
        {kMeetingTable, u"IPM.Schedule.Meeting.Request"},
        {kTaskTable, u"IPM.Task"},
        {kJournalTable, u"IPM.Activity"},
        {kNoteTable, u"IPM.StickyNote"}};
    for (const auto& [table, messageClass] : families)
        EXPECT_EQ(WrittenIds(table), KeptIds(messageClass)) << platform::ToUtf8(messageClass);
}

}  // namespace
}  // namespace pastille::tests
