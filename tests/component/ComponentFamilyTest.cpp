#include <vector>

#include "format/PropertyIds.h"
#include "platform/Text.h"
#include "tests/component/ComponentFixture.h"
#include "tests/component/SoundStore.h"
#include "writer/OleDate.h"

namespace pastille::tests {
namespace {

using namespace writer;
namespace p = writer::property;
namespace pid = format::pid;
namespace propset = format::propset;

constexpr ItemProperty kIcon = p::Number("IconIndex", pid::kIconIndex);

constexpr ItemProperty Named(PropertyKind kind, format::PropertyType type, const format::Guid& set,
                             std::uint32_t lid)
{
    return {"Named", kind, PropertyStorage::Named, lid, type, set};
}
constexpr ItemProperty kComplete =
    Named(PropertyKind::Flag, format::PropertyType::Boolean, propset::kTask, 0x811C);
constexpr ItemProperty kStatus =
    Named(PropertyKind::Number, format::PropertyType::Integer32, propset::kTask, 0x8101);
constexpr ItemProperty kPercent =
    Named(PropertyKind::Number, format::PropertyType::Floating64, propset::kTask, 0x8102);
constexpr ItemProperty kColor =
    Named(PropertyKind::Number, format::PropertyType::Integer32, propset::kNote, 0x8B00);
constexpr ItemProperty kStart = p::NamedDate("Start", propset::kAppointment, 0x820D);
constexpr ItemProperty kEnd = p::NamedDate("End", propset::kAppointment, 0x820E);

class ComponentFamilies : public CComponentFixture {
protected:
    void SetUp() override { CreateStore(); }
};

TEST_F(ComponentFamilies, NewItemsAreNoDrafts)
{
    for (const auto* messageClass : {u"IPM.Contact", u"IPM.DistList", u"IPM.StickyNote", u"IPM.Appointment",
                                     u"IPM.Schedule.Meeting.Request", u"IPM.Task", u"IPM.Activity"}) {
        const auto item = AddItem(root, messageClass);
        EXPECT_EQ(item->GetFlag(p::UnRead), 0) << platform::ToUtf8(messageClass);
        EXPECT_EQ(item->GetFlag(p::Sent), 1) << platform::ToUtf8(messageClass);
    }
}

TEST_F(ComponentFamilies, IconFollowsFromTheClass)
{
    struct Case {
        std::u16string_view messageClass;
        std::int32_t icon;
    };
    const std::vector<Case> cases{{u"IPM.Contact", 0x200},
                                  {u"IPF.Contact", 0x200},
                                  {u"IPM.DistList", 0x202},
                                  {u"IPM.StickyNote", 0x300},
                                  {u"IPM.Appointment", 0x400},
                                  {u"IPM.Schedule.Meeting.Request", 0x404},
                                  {u"IPM.Schedule.Meeting.Canceled", 0x408},
                                  {u"IPM.Task", 0x500},
                                  {u"IPM.Activity", 0x601},
                                  {u"IPM.Note", 0},
                                  {u"", 0},
                                  {u"IPM", 0}};
    for (const Case& each : cases)
        AddItem(root, each.messageClass)->Save();
    const auto note = AddItem(root, u"IPM.StickyNote");
    note->SetNumber(kColor, 3);
    note->Save();
    const auto chosen = AddItem(root, u"IPM.Task");
    chosen->SetNumber(kIcon, 0x501);
    chosen->Save();
    Reopen();
    const auto items = root->GetItems();
    auto item = items->GetFirst();
    for (const Case& each : cases) {
        EXPECT_EQ(item->GetNumber(kIcon), each.icon);
        item = items->GetNext();
    }
    EXPECT_EQ(item->GetNumber(kIcon), 0x303) << "a note shows its colour";
    EXPECT_EQ(items->GetNext()->GetNumber(kIcon), 0x501) << "one that was set stays";
}

TEST_F(ComponentFamilies, CalendarTimesStandUnderAllTheirNames)
{
    const std::vector<ItemProperty> starts{p::NamedDate("", propset::kCommon, 0x8516), p::Date("", 0x0060)};
    const std::vector<ItemProperty> ends{p::NamedDate("", propset::kCommon, 0x8517), p::Date("", 0x0061)};
    const auto meeting = AddItem(root, u"IPM.Appointment");
    meeting->SetDate(kStart, 45001.5);
    meeting->Save();
    meeting->SetDate(kStart, 45002.5);
    meeting->SetDate(kEnd, 45002.75);
    meeting->Save();
    const auto mail = AddItem(root, u"IPM.Note");
    mail->SetDate(kStart, 45001.5);
    mail->Save();
    Reopen();
    const auto items = root->GetItems();
    const auto found = items->GetFirst();
    for (const auto& start : starts)
        EXPECT_EQ(found->GetDate(start), 45002.5);
    for (const auto& end : ends)
        EXPECT_EQ(found->GetDate(end), 45002.75);
    EXPECT_EQ(items->GetNext()->GetDate(starts[1]), kNoDate);
}

TEST_F(ComponentFamilies, CompleteTaskIsDoneByAWhole)
{
    const auto percentOf = [&](std::u16string_view messageClass, auto&& set) {
        const auto item = AddItem(root, messageClass);
        set(*item);
        item->Save();
        return item->GetNumber(kPercent);
    };
    EXPECT_EQ(percentOf(u"IPM.Task", [](IMessageItem& item) { item.SetFlag(kComplete, 1); }), 1);
    EXPECT_EQ(percentOf(u"IPM.Task", [](IMessageItem& item) { item.SetNumber(kStatus, 2); }), 1);
    EXPECT_EQ(percentOf(u"IPM.Task", [](IMessageItem& item) { item.SetNumber(kStatus, 1); }), 0);
    EXPECT_EQ(percentOf(u"IPM.Task", [](IMessageItem& item) { item.SetFlag(kComplete, 0); }), 0);
    EXPECT_EQ(percentOf(u"IPM.Note", [](IMessageItem& item) { item.SetFlag(kComplete, 1); }), 0);
    EXPECT_EQ(percentOf(u"IPM.Task",
                        [](IMessageItem& item) {
                            item.SetFlag(kComplete, 1);
                            item.SetNumber(kPercent, 0);
                        }),
              0);
}

}  // namespace
}  // namespace pastille::tests
