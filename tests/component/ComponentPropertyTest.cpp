#include <functional>
#include <vector>

#include "tests/component/ComponentFixture.h"
#include "writer/OleDate.h"

namespace pastille::tests {
namespace {

using namespace writer;
namespace p = writer::property;

class ComponentProperties : public CComponentFixture {
protected:
    void SetUp() override { CreateStore(); }
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

TEST_F(ComponentProperties, ReplyAndForwardSetTheirMarksOnly)
{
    constexpr ItemProperty kIcon = p::Number("IconIndex", format::pid::kIconIndex);
    constexpr ItemProperty kVerb = p::Number("LastVerb", format::pid::kLastVerbExecuted);
    const auto replied = AddItem(root, u"IPM.Note");
    EXPECT_TRUE(replied->Reply());
    replied->Save();
    const auto forwarded = AddItem(root, u"IPM.Note");
    EXPECT_TRUE(forwarded->Forward());
    forwarded->Save();
    ASSERT_EQ(root->GetItems()->GetCount(), 2);
    Reopen();
    const auto items = root->GetItems();
    const auto first = items->GetFirst();
    EXPECT_EQ(first->GetNumber(kIcon), 0x105);
    EXPECT_EQ(first->GetNumber(kVerb), 102);
    const auto second = items->GetNext();
    EXPECT_EQ(second->GetNumber(kIcon), 0x106);
    EXPECT_EQ(second->GetNumber(kVerb), 104);
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

}  // namespace
}  // namespace pastille::tests
