#include <gtest/gtest.h>

#include "tests/recovery/RecoverySupport.h"

namespace pastille::tests {
namespace {

namespace pid = format::pid;

StoreMessage Item(std::u16string_view subject, std::u16string messageClass = u"IPM.Note")
{
    StoreMessage item = Mail(subject, u"f", u"body of " + std::u16string(subject), 0);
    item.messageClass = std::move(messageClass);
    return item;
}

/// Embeds nothing of its own, but what these subnodes refer to.
StoreAttachment Referring(std::vector<SubnodeRef> subnodes)
{
    StoreAttachment attachment = Embed(nullptr, u"reference");
    attachment.subnodes = std::move(subnodes);
    return attachment;
}

std::size_t CountEmbedded(const FakeItem& item)
{
    std::size_t count = 0;
    for (const FakeAttachment& attachment : item.attachments) {
        if (attachment.embedded)
            count += 1 + CountEmbedded(*attachment.embedded);
    }
    return count;
}

TEST(EmbeddedMessages, ThreeDeepAreLoggedAndCountedWithTheirMail)
{
    StoreMessage innermost = Item(u"innermost", u"IPM.Contact");
    innermost.attachments = {File(u"face.jpg", "picture")};
    StoreMessage middle = Item(u"middle");
    middle.attachments = {File(u"m.txt", "file of middle"), Embed(innermost, u"A contact")};
    StoreMessage outer = Item(u"outer");
    outer.attachments = {Embed(middle, u"FW: middle?"), File(u"o.txt", "file of outer")};
    CRecoveredStore scenario(InInbox({outer}));

    const FakeItem& mail = scenario.OnlyItem(u"\\Inbox");
    ASSERT_EQ(mail.attachments.size(), 2u);
    const FakeAttachment& first = mail.attachments[1];
    EXPECT_EQ(first.displayName, u"FW  middle ");
    ASSERT_TRUE(first.embedded && first.embedded->attachments.size() == 2u);
    EXPECT_EQ(first.embedded->saves, 1);
    const FakeItem& contact = *first.embedded->attachments[1].embedded;
    EXPECT_EQ(contact.saves, 1) << "only when it has its place";
    ASSERT_EQ(contact.attachments.size(), 1u);
    EXPECT_TRUE(contact.attachments[0].isPicture);

    EXPECT_EQ(scenario.CountInLog(u"\r\n\r\nMail Subject: outer\r\nAttached Embedded Message: FW  middle "
                                  u"\r\nAttachment File Name: o.txt"
                                  u"\r\n\r\nMail Subject: middle\r\nAttachment File Name: m.txt"
                                  u"\r\nAttached Embedded Message: A contact"
                                  u"\r\n\r\nContact Subject: innermost\r\nAttachment File Name: face.jpg"
                                  u"\r\nStatus: Recovered\r\n"),
              1u);
    const auto& figures = scenario.pipeline->Figures();
    EXPECT_EQ(figures.embeddedMessages, 2u);
    EXPECT_EQ(figures.attachments, 3u);
    EXPECT_EQ(figures.ItemsOf(recovery::ItemFamily::Mail), 1u);
    EXPECT_EQ(figures.ItemsOf(recovery::ItemFamily::Contact), 0u);
    EXPECT_EQ(std::ranges::count(scenario.frontEnd.Cells(), "3:outer"), 1);
    EXPECT_EQ(std::ranges::count(scenario.frontEnd.Cells(), "3:middle"), 0) << "has no row of its own";
}

TEST(EmbeddedMessages, TheMethodOverridesWhatTheNamesSay)
{
    StoreMessage mail = Item(u"outer");
    StoreAttachment named = Embed(Item(u"named"), u"display");
    named.omitted = {};
    named.fileName = u"message.msg";
    StoreAttachment withoutMethod = Embed(Item(u"without method"), u"no method");
    withoutMethod.omitted.push_back(pid::kAttachMethod);
    StoreAttachment untitled = Embed(Item(u"untitled"), u"Untitled Attachment");
    mail.attachments = {named, withoutMethod, untitled};
    CRecoveredStore scenario(InInbox({mail}));
    std::vector<std::u16string> names;
    for (const FakeAttachment& attachment : scenario.OnlyItem(u"\\Inbox").attachments) {
        EXPECT_TRUE(attachment.embedded);
        names.push_back(attachment.displayName);
    }
    // The last one is attached first.
    EXPECT_EQ(names, (std::vector<std::u16string>{u"Untitled Attachment", u"no method", u"display"}));
    EXPECT_EQ(scenario.CountInLog(u"\r\nAttached Embedded Message: "), 3u);
    EXPECT_EQ(scenario.CountInLog(u"Attachment File Name"), 0u);
}

TEST(EmbeddedMessages, GiveTheirParentTheSentStateOnceMore)
{
    StoreMessage draft = Item(u"draft");
    draft.flags = 8;
    CRecoveredStore plain(InInbox({draft}));
    EXPECT_EQ(plain.OnlyItem(u"\\Inbox").numbers.at("Sent"), 0);
    draft.attachments = {Embed(Item(u"inner"), u"inner")};
    CRecoveredStore scenario(InInbox({draft}));
    EXPECT_EQ(scenario.OnlyItem(u"\\Inbox").numbers.at("Sent"), 1);
}

TEST(EmbeddedMessages, AreCreatedByTheirClassWithoutRouting)
{
    StoreMessage outer = Item(u"outer");
    outer.attachments = {Embed(Item(u"skipped", u"IPM.Custom"), u"skipped"),
                         Embed(Item(u"short", u"IP"), u"short"), Embed(Item(u"task", u"IPM.Task"), u"task")};
    CRecoveredStore scenario(InInbox({outer}));
    const FakeItem& mail = scenario.OnlyItem(u"\\Inbox");
    ASSERT_EQ(mail.attachments.size(), 2u);
    EXPECT_EQ(mail.attachments[0].embedded->messageClass, u"IPM.Task");
    EXPECT_EQ(mail.attachments[1].embedded->messageClass, u"IP");
    EXPECT_EQ(mail.attachments[1].embedded->Text("Body"), u"body of short");
    EXPECT_EQ(scenario.component.Folder(u"\\Lost & Found"), nullptr);
    EXPECT_EQ(scenario.component.SavedItems(), std::vector<std::string>{"\\Inbox: IPM.Note"});
}

TEST(EmbeddedMessages, OfAnItemThatIsNoMailGoToThePlaceholder)
{
    StoreMessage appointment = Item(u"meeting", u"IPM.Appointment");
    appointment.attachments = {Embed(Item(u"exception", u"IPM.Appointment"), u"exception"),
                               File(u"agenda.txt", "agenda")};
    CRecoveredStore scenario(InInbox({appointment}));
    EXPECT_EQ(scenario.component.SavedItems(),
              (std::vector<std::string>{"\\Inbox: IPM.Appointment", "\\Lost & Found: IPM.Note"}));
    const FakeItem& placeholder = scenario.OnlyItem(u"\\Lost & Found");
    ASSERT_EQ(placeholder.attachments.size(), 2u);
    EXPECT_EQ(placeholder.attachments[0].bytes, "agenda");
    EXPECT_EQ(placeholder.attachments[1].embedded->messageClass, u"IPM.Appointment");

    appointment.attachments = {Embed(Item(u"skipped", u"IPM.Custom"), u"skipped")};
    CRecoveredStore nothing(InInbox({appointment}));
    EXPECT_EQ(nothing.component.Folder(u"\\Lost & Found"), nullptr) << "there is nothing to carry";
}

TEST(EmbeddedMessages, FilesOfOnesThatAreNoMailsStayWithTheirMail)
{
    StoreMessage skipped = Item(u"skipped", u"IPM.Custom");
    skipped.attachments = {File(u"inside.txt", "inside")};
    StoreMessage meeting = Item(u"meeting", u"IPM.Appointment");
    meeting.attachments = {File(u"agenda.txt", "agenda")};
    StoreMessage outer = Item(u"outer");
    outer.attachments = {Embed(skipped, u"skipped"), Embed(meeting, u"meeting")};
    CRecoveredStore scenario(InInbox({outer}));
    const FakeItem& mail = scenario.OnlyItem(u"\\Inbox");
    ASSERT_EQ(mail.attachments.size(), 3u);
    EXPECT_EQ(mail.attachments[0].embedded->messageClass, u"IPM.Appointment");
    EXPECT_EQ(mail.attachments[1].embedded->attachments.at(0).bytes, "agenda");
    EXPECT_EQ(mail.attachments[2].displayName, u"skipped");
    EXPECT_EQ(mail.attachments[2].embedded->attachments.at(0).bytes, "inside");
    EXPECT_EQ(scenario.component.SavedItems(), std::vector<std::string>{"\\Inbox: IPM.Note"});
    EXPECT_EQ(scenario.component.Folder(u"\\Lost & Found"), nullptr);
}

TEST(EmbeddedMessages, StopAtTheThirtySecondLevel)
{
    constexpr std::size_t kDeepest = 32;
    StoreMessage mail = Item(u"level 33");
    mail.attachments = {File(u"deepest", "too deep")};
    for (std::size_t level = kDeepest + 1; level-- > 0;) {
        StoreMessage outer = Item(u"level");
        outer.attachments = {File(u"file", "file"), Embed(mail, u"below")};
        mail = outer;
    }
    CRecoveredStore scenario(InInbox({mail}));
    EXPECT_EQ(CountEmbedded(scenario.OnlyItem(u"\\Inbox")), kDeepest);
    EXPECT_EQ(scenario.pipeline->Figures().embeddedMessages, kDeepest);
    EXPECT_EQ(scenario.pipeline->Figures().attachments, kDeepest + 1) << "the last item keeps its files";
}

TEST(EmbeddedMessages, CyclesAreCut)
{
    constexpr std::uint64_t kOuter = 0x8000, kOuterList = 0x8002, kInner = 0x8004, kInnerList = 0x8006;
    StoreMessage inner = Item(u"inner");
    inner.dataBid = kInner;
    inner.subnodesBid = kInnerList;
    inner.attachments = {Referring({{0x200024, kOuter, kOuterList}}),
                         Referring({{0x200024, kInner, kInnerList}})};
    StoreMessage outer = Item(u"outer");
    outer.dataBid = kOuter;
    outer.subnodesBid = kOuterList;
    outer.attachments = {Embed(inner, u"inner"), Referring({{0x200024, kOuter + 1, kOuterList}})};
    CRecoveredStore scenario(InInbox({outer}));
    EXPECT_EQ(CountEmbedded(scenario.OnlyItem(u"\\Inbox")), 1u);
    EXPECT_EQ(scenario.CountInLog(u"Status: Recovered"), 1u);
}

TEST(EmbeddedMessages, ABlockIsEnteredEightTimesAtMost)
{
    StoreAttachment shared = Embed(Item(u"shared"), u"shared");
    shared.shareEmbedded = true;
    StoreMessage outer = Item(u"outer");
    outer.attachments.assign(12, shared);
    CRecoveredStore scenario(InInbox({outer}));
    EXPECT_EQ(CountEmbedded(scenario.OnlyItem(u"\\Inbox")), 8u);
}

TEST(EmbeddedMessages, AFailureCostsTheOneThatFails)
{
    StoreMessage outer = Item(u"outer");
    outer.attachments = {Embed(Item(u"one"), u"one"), Embed(Item(u"two"), u"two")};
    CRecoveryScenario scenario(InInbox({outer}));
    scenario.component.FailCalls("AddAttachment:two", writer::E_FAIL);
    scenario.Run();
    const FakeItem& mail = scenario.OnlyItem(u"\\Inbox");
    ASSERT_EQ(mail.attachments.size(), 1u);
    EXPECT_EQ(mail.attachments[0].displayName, u"one");
    EXPECT_EQ(scenario.CountInLog(u"Status: Recovered"), 1u);

    CRecoveryScenario full(InInbox({outer}));
    full.component.FailCalls("AddAttachment:two", writer::E_MEDIUMFULL);
    full.Run();
    EXPECT_TRUE(full.state.failed);
    EXPECT_FALSE(full.component.committed);
}

}  // namespace
}  // namespace pastille::tests
