#include "recovery/RunSummary.h"

#include <gtest/gtest.h>

#include "tests/recovery/RecoverySupport.h"

namespace pastille::tests {
namespace {

StoreDescription MixedStore()
{
    StoreDescription description;
    description.messages = {ItemOf(u"IPM.Note")};
    description.folders = {
        {.name = u"Inbox",
         .containerClass = u"IPF.Note",
         .messages = {ItemOf(u"IPM.Note"), ItemOf(u"IPM.Contact")}},
        {.name = u"Contacts", .containerClass = u"IPF.Contact", .messages = {ItemOf(u"IPM.Contact")}},
        {.name = u"Tasks",
         .containerClass = u"IPF.Task",
         .messages = {ItemOf(u"IPM.Task"), ItemOf(u"IPM.TaskRequest")}},
        {.name = u"Calendar", .containerClass = u"IPF.Appointment", .messages = {ItemOf(u"IPM.Appointment")}},
        {.name = u"Journal", .containerClass = u"IPF.Journal", .messages = {ItemOf(u"IPM.Activity")}},
        {.name = u"Notes", .containerClass = u"IPF.StickyNote", .messages = {ItemOf(u"IPM.StickyNote")}},
        {.name = u"Odd", .containerClass = u"IPF.Something", .messages = {ItemOf(u"IPM.Task")}},
    };
    description.folders[0].messages[0].parent = 0x9FC2;  // to Lost & Found
    return description;
}

recovery::SummaryCounts Summarize(CRecoveryScenario& scenario)
{
    recovery::CRunSummary summary;
    for (const auto& message : scenario.frontEnd.All<platform::FolderMessage>())
        summary.Note(message);
    return summary.Write(scenario.component, platform::HostFileSystem(), scenario.state, FixedClock());
}

TEST(RunSummary, CountsByTheClassOfTheFolder)
{
    CRecoveredStore scenario(MixedStore());
    const std::u16string logBefore = scenario.Log();
    const auto counts = Summarize(scenario);

    EXPECT_TRUE(counts.opened);
    EXPECT_EQ(counts.mails, 1u + 1u + 1u + 1u) << "root, Inbox, Lost & Found, Odd";
    EXPECT_EQ(counts.contacts, 1u);
    EXPECT_EQ(counts.tasks, 2u);
    EXPECT_EQ(counts.calendar, 1u);
    EXPECT_EQ(counts.journals, 1u);
    EXPECT_EQ(counts.notes, 1u);
    EXPECT_EQ(counts.total, 10u);
    EXPECT_EQ(counts.total, scenario.component.SavedItems().size());
    EXPECT_EQ(scenario.Log(), logBefore +
                                  u"\r\n\r\n-------------------Summary--------------------"
                                  u"\r\n\r\nTotal recovered mail items : 10"
                                  u"\r\n\r\nDate and time : Sunday, November 22, 2026,21:05:09");
}

TEST(RunSummary, EachPathCountsOnce)
{
    CRecoveredStore scenario(MixedStore());
    recovery::CRunSummary summary;
    for (int i = 0; i < 3; ++i)
        summary.Note({4386, u"\\Tasks", u"IPF.Task"});
    summary.Note({7, u"\\No such folder", u"IPF.Note"});
    const auto counts =
        summary.Write(scenario.component, platform::HostFileSystem(), scenario.state, FixedClock());
    EXPECT_EQ(counts.tasks, 2u);
    EXPECT_EQ(counts.total, 2u);
    ASSERT_EQ(counts.folders.size(), 2u);
    EXPECT_EQ(counts.folders[0].items, 2u);
    EXPECT_EQ(counts.folders[1].items, 0u);
}

TEST(RunSummary, CountsWithoutALogAndSurvivesAFailingComponent)
{
    CRecoveredStore scenario(MixedStore());
    remove(scenario.state.logPath);
    EXPECT_EQ(Summarize(scenario).total, 10u);
    EXPECT_FALSE(exists(scenario.state.logPath));

    scenario.component.FailCalls("Logon", writer::E_FAIL);
    const auto failed = Summarize(scenario);
    EXPECT_FALSE(failed.opened);
    EXPECT_EQ(failed.total, 0u);
    scenario.component.isRegistered = false;
    EXPECT_FALSE(Summarize(scenario).opened);
}

}  // namespace
}  // namespace pastille::tests
