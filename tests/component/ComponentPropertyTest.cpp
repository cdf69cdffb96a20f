#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "component/pst/messaging/Attachment.h"
#include "component/pst/messaging/NameMap.h"
#include "format/Bytes.h"
#include "format/Guid.h"
#include "format/PropertyIds.h"
#include "platform/Text.h"
#include "tests/component/ComponentFixture.h"
#include "tests/scenario/NewStore.h"
#include "writer/OleDate.h"

namespace pastille::tests {
namespace {

using namespace writer;
namespace p = writer::property;

class ComponentProperties : public CComponentStoreFixture {
protected:
    /// Sets values on a new item and reads them back at every stage of its life.
    void RoundTrip(const std::function<void(IMessageItem&)>& set,
                   const std::function<void(IMessageItem&)>& expect)
    {
        {
            const auto item = AddItem(root, u"IPM.Note");
            set(*item);
            expect(*item);
            item->Save();
            expect(*item);
            expect(*root->GetItems()->GetFirst());
        }
        Reopen();
        expect(*root->GetItems()->GetFirst());
    }
};

TEST_F(ComponentProperties, OfANewMailAreEmptyUnreadAndUnsent)
{
    RoundTrip([](IMessageItem&) {},
              [](IMessageItem& item) {
                  EXPECT_EQ(item.GetMessageClass(), u"IPM.Note");
                  EXPECT_EQ(item.GetFlag(p::Sent), 0);
                  EXPECT_NE(item.GetFlag(p::UnRead), 0);
                  EXPECT_EQ(item.GetText(p::Subject), u"");
                  EXPECT_EQ(item.GetText(p::Companies), u"");
                  EXPECT_EQ(item.GetText(p::HtmlBody), u"");
                  EXPECT_EQ(item.GetDate(p::DueDate), kNoDate);
                  EXPECT_EQ(item.GetNumber(p::FlagStatus), 0);
                  EXPECT_EQ(item.GetAttachments()->GetCount(), 0);
              });
}

TEST_F(ComponentProperties, DatesAtTheEndsOfTheCalendar)
{
    static constexpr double kFirst = -109205.0;  // 1601-01-01
    static constexpr double kLast = 2958465.5;   // 9999-12-31 12:00
    RoundTrip(
        [](IMessageItem& item) {
            item.SetDate(p::DueDate, kFirst);
            item.SetDate(p::DeliveryTime, kLast);
            item.SetDate(p::SubmitTime, kFirst - 1);
            item.SetDate(p::ReminderTime, kNoDate);
        },
        [](IMessageItem& item) {
            EXPECT_EQ(item.GetDate(p::DueDate), kFirst);
            EXPECT_EQ(item.GetDate(p::DeliveryTime), kLast);
            EXPECT_EQ(item.GetDate(p::SubmitTime), kNoDate);
            EXPECT_EQ(item.GetDate(p::ReminderTime), kNoDate);
        });
}

TEST_F(ComponentProperties, TextsOfUnusualContentSurvive)
{
    const std::u16string large(700'000, u'\u00FC');
    RoundTrip(
        [&](IMessageItem& item) {
            item.SetText(p::Subject, std::u16string(u"\x01\x05"
                                                    u"Re: a\0b",
                                                    9));
            item.SetText(p::Companies, u";a;;b;");
            item.SetText(p::Body, large);
            item.SetText(p::HtmlBody, u"<p>" + large + u"\U0001F600</p>");
            item.SetText(p::DisplayTo, std::u16string(2000, u'x'));
            item.SetText(p::SenderName, u"set");
            item.SetText(p::SenderName, u"");
        },
        [&](IMessageItem& item) {
            EXPECT_EQ(item.GetText(p::Subject),
                      u"\x01\x05"
                      u"Re: ab");
            EXPECT_EQ(item.GetText(p::Companies), u";a;;b;");
            EXPECT_EQ(item.GetText(p::Body), large);
            EXPECT_EQ(item.GetText(p::HtmlBody), u"<p>" + large + u"\U0001F600</p>");
            EXPECT_EQ(item.GetText(p::DisplayTo), std::u16string(2000, u'x'));
            EXPECT_EQ(item.GetText(p::SenderName), u"");
        });
}

template <class Interface>
bool Has(const CRef<IMessageItem>& item)
{
    return static_cast<bool>(QueryInterface<Interface>(item));
}

TEST_F(ComponentProperties, InterfaceFollowsFromTheMessageClass)
{
    const std::vector<std::pair<std::u16string_view, char>> classes{{u"IPM.Contact", 'c'},
                                                                    {u"IPF.DistList", 'c'},
                                                                    {u"IPM.Activity", 'j'},
                                                                    {u"IPM.Journal", 'j'},
                                                                    {u"IPM.Task", 't'},
                                                                    {u"IPM.TaskRequest.Update", 't'},
                                                                    {u"IPM.TaskRequest.Accept", ' '},
                                                                    {u"IPF.StickyNote", 'n'},
                                                                    {u"IPM.Appointment", 'a'},
                                                                    {u"IPM.Schedule.Meeting.Resp.Tent", 'm'},
                                                                    {u"IPM.Note", ' '},
                                                                    {u"ipm.contact", ' '},
                                                                    {u"", ' '}};
    for (const auto& [messageClass, kind] : classes) {
        const auto saved = AddItem(root, messageClass);
        saved->Save();
    }
    Reopen();
    const auto items = root->GetItems();
    auto item = items->GetFirst();
    for (const auto& [messageClass, kind] : classes) {
        ASSERT_TRUE(item);
        EXPECT_EQ(item->GetMessageClass(), messageClass);
        EXPECT_EQ(Has<IContactItem>(item), kind == 'c');
        EXPECT_EQ(Has<IJournalItem>(item), kind == 'j');
        EXPECT_EQ(Has<ITaskItem>(item), kind == 't');
        EXPECT_EQ(Has<INoteItem>(item), kind == 'n');
        EXPECT_EQ(Has<IAppointmentItem>(item), kind == 'a');
        EXPECT_EQ(Has<IMeetingItem>(item), kind == 'm');
        item = items->GetNext();
    }
    EXPECT_FALSE(item);
}

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

using ComponentFamilies = CComponentStoreFixture;

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

using namespace component::pst;
using format::Guid;

TEST(MessagingNameMap, ComesBackFromItsBytesAndGrows)
{
    std::vector<PropertyName> names{
        {format::propset::kMapi, 1, {}}, {Guid{}, 7, {}}, {format::propset::kInternetHeaders, 0, u"x-odd"}};
    for (std::uint32_t lid = 0; lid < 3000; ++lid)
        names.push_back({format::propset::kCommon, lid, {}});
    for (const char16_t c : std::u16string(u"abc"))
        names.push_back({format::propset::kPublicStrings, 0, std::u16string(1000, c)});
    CNameMap map;
    for (const auto& name : names)
        map.FindOrAdd(name);
    auto copy = CNameMap::Decode(map.Encode());
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(copy.Find(names[i]), 0x8000 + i);
    EXPECT_EQ(copy.FindOrAdd(names[5]), 0x8005) << "a known name keeps its id";
    EXPECT_EQ(copy.FindOrAdd({format::propset::kTask, 1, {}}), 0x8000 + names.size());
}

TEST(MessagingNameMap, EndsWithItsIdsAndBearsDamage)
{
    CNameMap map;
    for (std::uint32_t lid = 0; lid < 0x7FFF; ++lid)
        ASSERT_EQ(map.FindOrAdd({format::propset::kCommon, lid, {}}), 0x8000 + lid);
    EXPECT_EQ(map.FindOrAdd({format::propset::kCommon, 0x7FFF, {}}), std::nullopt);

    CNameMap few;
    few.FindOrAdd({format::propset::kTask, 1, {}});
    few.FindOrAdd({format::propset::kPublicStrings, 0, u"name"});
    auto bag = few.Encode();
    bag.Remove(0x0002);
    bag.Set(BinaryValue(0x0004, std::vector<std::byte>(3)));
    auto damaged = CNameMap::Decode(bag);
    EXPECT_EQ(damaged.Find({format::propset::kTask, 1, {}}), std::nullopt);
    EXPECT_EQ(damaged.Find({format::propset::kPublicStrings, 0, u"name"}), std::nullopt);
    EXPECT_EQ(damaged.FindOrAdd({format::propset::kTask, 1, {}}), 0x8002) << "ids of lost names stay taken";
}

}  // namespace
}  // namespace pastille::tests
