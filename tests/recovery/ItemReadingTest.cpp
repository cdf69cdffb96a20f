#include <gtest/gtest.h>

#include "tests/recovery/RecoverySupport.h"

namespace pastille::tests {
namespace {

namespace pid = format::pid;

FakeItem Recovered(const StoreMessage& mail, StoreFormat format = {})
{
    CRecoveredStore scenario(InInbox({mail}, format));
    return scenario.OnlyItem(u"\\Inbox");
}

TEST(MailReading, AMailHasItsRowAndItsDates)
{
    CRecoveredStore scenario(InInbox({Mail(u"Caf\u00E9", u"Ann Other", u"Text", FileTime(2026, 11, 22))}));
    const FakeItem& mail = scenario.OnlyItem(u"\\Inbox");
    EXPECT_EQ(mail.Text("SentRepresentingName"), u"Ann Other");
    EXPECT_EQ(mail.dates.at("SubmitTime"), 46'348.0);
    EXPECT_EQ(mail.numbers.at("Sent"), 1);
    EXPECT_EQ(mail.numbers.at("UnRead"), 0);
    EXPECT_EQ(scenario.frontEnd.Cells(),
              (std::vector<std::string>{"1:Ann Other", "2:Archive", "3:Caf\xC3\xA9", "4:11 /22 /2026"}));
    EXPECT_EQ(scenario.pipeline->Figures().ItemsOf(recovery::ItemFamily::Mail), 1u);
}

TEST(MailReading, WhatNamesNoCodePageIsReadInThatOfTheRun)
{
    StoreDescription description =
        InInbox({BareMail({InSubnode(Text(pid::kBody, u"\u0416\u0417"))})}, FormatOf(format::Variant::Ansi));
    description.codePage = "windows-1251";
    CRecoveryScenario narrow(description);
    narrow.settings.codePage = description.codePage;
    narrow.Run();
    EXPECT_EQ(narrow.OnlyItem(u"\\Inbox").Text("Body"), u"\u0416\u0417");
    CRecoveryScenario html(
        InInbox({BareMail({InSubnode(Text(pid::kBody, u"plain")), InSubnode(Binary(pid::kHtml, "\xC6"))})}));
    html.settings.codePage = description.codePage;
    html.Run();
    EXPECT_EQ(html.OnlyItem(u"\\Inbox").Text("HtmlBody"), u"\u0416");
    EXPECT_EQ(html.OnlyItem(u"\\Inbox").numbers.at("InternetCodepage"), 1251);
}

TEST(MailReading, TheLogTellsSubjectAndSaving)
{
    CRecoveredStore scenario(InInbox({Mail(u"One", u"f", u"b", 0), BareMail({})}));
    EXPECT_EQ(scenario.CountInLog(u"\r\n\r\nMail Subject: One\r\nStatus: Recovered\r\n"), 1u);
    EXPECT_EQ(scenario.CountInLog(u"Mail Subject: "), 1u) << "none for the mail without a subject";
    EXPECT_EQ(scenario.CountInLog(u"Status: Recovered\r\n"), 2u);
}

TEST(MailReading, TheFirstOfSubjectAndTopicIsTheSubject)
{
    EXPECT_EQ(Recovered(BareMail({Text(pid::kConversationTopic, u"topic")})).Text("Subject"), u"topic");
    EXPECT_EQ(Recovered(BareMail({Text(pid::kSubject, u"subject"), Text(pid::kConversationTopic, u"topic")}))
                  .Text("Subject"),
              u"subject");
    StoreProperty damaged = Text(pid::kSubject, u"subject");
    damaged.hnid = 0x7FE0;  // an allocation that the heap does not have
    EXPECT_EQ(Recovered(BareMail({damaged, Text(pid::kConversationTopic, u"topic")})).Text("Subject"),
              u"topic");
}

TEST(MailReading, PropertiesBeforeTheClassReachNoWriter)
{
    const FakeItem mail = Recovered(Mail(u"s", u"f", u"b", 0));  // has PidTagImportance, which stands before
    EXPECT_FALSE(mail.Wrote("Importance"));
    EXPECT_TRUE(mail.Wrote("Sensitivity")) << "stands behind the class";
}

TEST(MailReading, ATextOutsideTheHeapIsReadFromItsSubnode)
{
    const std::u16string recipients(5000, u'r');
    CRecoveredStore scenario(InInbox({BareMail(
        {InSubnode(Text(pid::kDisplayTo, recipients)), InSubnode(Text(pid::kSubject, u"in a subnode"))})}));
    const FakeItem& mail = scenario.OnlyItem(u"\\Inbox");
    EXPECT_TRUE(mail.Text("DisplayTo") == recipients);
    EXPECT_EQ(mail.Text("Subject"), u"in a subnode");
}

TEST(MailReading, AHeapOfSeveralBlocksGivesWhatItsFirstBlockHolds)
{
    const std::u16string large(1750, u'x');
    const FakeItem mail = Recovered(
        BareMail({Text(pid::kSubject, u"several"), Text(pid::kDisplayBcc, large),
                  Text(pid::kDisplayCc, large), Text(pid::kDisplayTo, u"to"), Text(pid::kBody, large)}),
        {.spillHeaps = true});
    EXPECT_EQ(mail.Text("Subject"), u"several");
    EXPECT_EQ(mail.Text("DisplayTo"), u"to");
    EXPECT_FALSE(mail.Wrote("Body")) << "lies in the second block";
}

TEST(MailReading, AClassOutsideTheHeapGivesNoItem)
{
    StoreMessage damaged = BareMail({Text(pid::kSubject, u"s")});
    damaged.properties.back().hnid = 0x7FE0;
    CRecoveredStore scenario(InInbox({damaged}));
    EXPECT_EQ(scenario.component.CountCalls("AddItem"), 0u);
    EXPECT_FALSE(scenario.state.failed);
}

TEST(ItemFinishing, OtherFamiliesAreSavedAndLogged)
{
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"IPM.Contact", u"Contact Subject: "}, {u"IPM.Task", u"Task Item: "},
        {u"IPM.Appointment", u"Appointment: "}, {u"IPM.Schedule.Meeting.Request", u"Meeting: "},
        {u"IPM.Activity", u"Journals: "},       {u"IPM.StickyNote", u"Notes: "},
    };
    for (const auto& [messageClass, label] : cases) {
        StoreMessage item;
        item.messageClass = messageClass;
        CRecoveredStore scenario(InInbox({item}));
        EXPECT_EQ(scenario.OnlyItem(u"\\Inbox").messageClass, messageClass);
        EXPECT_EQ(scenario.CountInLog(std::u16string(u"\r\n\r\n") + label), 1u)
            << platform::ToUtf8(messageClass);
        EXPECT_EQ(scenario.CountInLog(u"Status: Recovered"), 0u);
        std::uint64_t counted = 0;
        for (const auto count : scenario.pipeline->Figures().items)
            counted += count;
        EXPECT_EQ(counted, 1u);
        EXPECT_EQ(scenario.pipeline->Figures().ItemsOf(recovery::ItemFamily::Mail), 0u);
    }
}

TEST(ItemWalk, AStopFinishesTheItemBeingWritten)
{
    CRecoveryScenario scenario(InInbox({Mail(u"a", u"f", u"b", 0), Mail(u"c", u"f", u"b", 0)}));
    scenario.frontEnd.onMessage = [&](const platform::Message& message) {
        if (std::holds_alternative<platform::ListCellMessage>(message))
            scenario.state.stopRequested = true;
    };
    scenario.Run();
    EXPECT_EQ(scenario.component.SavedItems().size(), 1u);
    EXPECT_EQ(scenario.CountInLog(u"Status: Recovered"), 1u);
    EXPECT_TRUE(scenario.component.committed);
    EXPECT_TRUE(exists(scenario.state.outputPath));
    EXPECT_EQ(scenario.frontEnd.BoxTexts(),
              std::vector<std::u16string>{u"Recovery process aborted.\nRecovered at:" +
                                          platform::PathText(scenario.state.outputPath)});
}

}  // namespace
}  // namespace pastille::tests
