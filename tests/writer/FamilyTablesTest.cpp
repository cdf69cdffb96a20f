#include <gtest/gtest.h>

#include <set>

#include "tests/support/StoreFamilies.h"
#include "tests/writer/WriterSupport.h"
#include "writer/FamilyWriter.h"

namespace pastille::tests {
namespace {

using namespace writer;

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
    CFakeComponent component;
    component.storeName = u"Store";
    const auto root = component.CreateSession()->GetFolderFromPath(u"\\\\Store");
    const auto item = QueryInterface<IMessageItem>(root->GetItems()->AddItem(u"IPM.Note"));
    CValueSource source;
    source.isOst = true;
    const std::uint32_t value = source.Add(Wide(u"text"));
    FakeItem& made = *component.root.items.front();
    Ids ids;
    for (std::uint32_t id = 0; id <= 0xFFFF; ++id) {
        for (const int type : {0x0002, 0x0003, 0x000B, 0x001F, 0x0040})
            WriteFamilyProperty(table, item,
                                {static_cast<std::uint16_t>(id), static_cast<std::uint16_t>(type), value},
                                source);
        if (!made.written.empty())
            ids.insert(id);
        made = FakeItem();
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
