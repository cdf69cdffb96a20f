#include <vector>

#include "format/PropertyIds.h"
#include "platform/Text.h"
#include "tests/component/ComponentFixture.h"
#include "tests/component/StoreOnDisk.h"
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

TEST_F(ComponentFamilies, RowsAgreeWithItemsOfEveryClass)
{
    for (const auto* messageClass :
         {u"IPM.Note", u"IPM.Contact", u"IPM.DistList", u"IPM.Task", u"IPM.Appointment",
          u"IPM.Schedule.Meeting.Request", u"IPM.Activity", u"IPM.StickyNote"}) {
        const auto item = AddItem(root, messageClass, u"subject");
        item->SetText(p::SentRepresentingName, u"Ann");
        item->SetText(p::DisplayTo, std::u16string(4000, u't'));
        item->SetText(p::DisplayCc, u"Carl");
        item->SetText(p::ConversationTopic, u"topic");
        item->SetDate(p::DeliveryTime, 45000.5);
        item->SetDate(p::SubmitTime, 45000.25);
        item->SetNumber(p::Importance, 2);
        item->SetNumber(p::Sensitivity, 3);
        item->SetFlag(p::UnRead, 1);
        Attach(item, "x", u"x.txt");
        item->Save();
    }
    Reopen();
    ExpectSoundStore(StorePath());
    StoreOnDisk disk(StorePath());
    auto contents =
        disk.Table(format::Nid::Make(format::NidType::ContentsTable, format::nids::kIpmSubtree.Index()));
    ASSERT_EQ(contents.RowCount(), 8u);
    for (std::size_t row = 0; row < contents.RowCount(); ++row) {
        EXPECT_EQ(component::pst::AsInteger32(contents.Cell(row, pid::kImportance).value()), 2u);
        EXPECT_EQ(component::pst::AsInteger32(contents.Cell(row, pid::kSensitivity).value()), 3u);
        EXPECT_EQ(component::pst::AsInteger32(contents.Cell(row, pid::kMessageFlags).value()).value() & 0x11,
                  0x10u);
        for (const auto id : {pid::kSubject, pid::kSentRepresentingName, pid::kDisplayTo, pid::kDisplayCc,
                              pid::kConversationTopic, pid::kMessageDeliveryTime, pid::kClientSubmitTime,
                              pid::kMessageSize, pid::kMessageClass})
            EXPECT_TRUE(contents.Cell(row, id)) << std::hex << id;
    }
}

TEST_F(ComponentFamilies, UnusualTypesOfValuesSurvive)
{
    const std::vector<ItemProperty> numbers{
        {"Gender", PropertyKind::Number, PropertyStorage::Tag, 0x3A4D, format::PropertyType::Integer16},
        kPercent,
        {"Size", PropertyKind::Number, PropertyStorage::Tag, 0x6610, format::PropertyType::Integer64}};
    const std::vector<ItemProperty> texts{
        p::Text("Priority", 0x0026),
        {"Kinds", PropertyKind::Text, PropertyStorage::Named, 0x853A, format::PropertyType::MultipleString,
         propset::kCommon},
        {"Children", PropertyKind::Text, PropertyStorage::Tag, 0x3A58, format::PropertyType::MultipleString}};
    const auto item = AddItem(root, u"IPM.Contact");
    for (const ItemProperty& property : numbers)
        item->SetNumber(property, 2);
    for (const ItemProperty& property : texts)
        item->SetText(property, u"one;two \u6F22");
    item->Save();
    Reopen();
    ExpectSoundStore(StorePath());
    const auto found = root->GetItems()->GetFirst();
    for (const ItemProperty& property : numbers)
        EXPECT_EQ(found->GetNumber(property), 2) << property.name;
    for (const ItemProperty& property : texts)
        EXPECT_EQ(found->GetText(property), u"one;two \u6F22") << property.name;
}

}  // namespace
}  // namespace pastille::tests
