#include <gtest/gtest.h>

#include "tests/recovery/RecoverySupport.h"

namespace pastille::tests {
namespace {

constexpr std::u16string_view kComponentFailed =
    u"Some component is missing.Please reinstall the application. ";

StoreDescription TwoMails()
{
    StoreDescription description;
    description.folders = {
        {.name = u"Inbox", .messages = {Mail(u"one", u"f", u"b1", 0), Mail(u"two", u"f", u"b2", 0)}}};
    return description;
}

TEST(ComponentFailure, OfAPropertyCostsThatProperty)
{
    for (const char* property : {"Subject", "SubmitTime", "DisplayTo", "DeliveryTime"}) {
        CRecoveryScenario scenario(TwoMails());
        const std::string operation = std::string(property).ends_with("Time") ? "SetDate:" : "SetText:";
        scenario.component.FailCalls(operation + property, writer::E_FAIL, 0, 1);
        scenario.Run();
        const auto saved = scenario.component.Folder(u"\\Inbox")->Saved();
        ASSERT_EQ(saved.size(), 2u) << property;
        EXPECT_FALSE(saved[0]->Wrote(property));
        EXPECT_TRUE(saved[1]->Wrote(property));
        EXPECT_EQ(saved[0]->Text("SenderName"), u"f");
        EXPECT_EQ(saved[0]->Text("Body"), u"b1");
        EXPECT_FALSE(scenario.state.failed);
    }
}

TEST(ComponentFailure, OfTheItemItselfCostsThatItem)
{
    for (const char* call : {"AddItem", "SetFlag:Sent"}) {
        CRecoveryScenario scenario(TwoMails());
        scenario.component.FailCalls(call, writer::E_FAIL, 0, 1);
        scenario.Run();
        EXPECT_EQ(scenario.OnlyItem(u"\\Inbox").Text("Subject"), u"two") << call;
        EXPECT_FALSE(scenario.state.failed);
        EXPECT_TRUE(scenario.component.committed);
    }
}

TEST(ComponentFailure, OfTheBodyStillSavesTheMail)
{
    CRecoveryScenario scenario(TwoMails());
    scenario.component.FailCalls("SetText:Body", writer::E_FAIL, 0, 1);
    scenario.Run();
    const auto saved = scenario.component.Folder(u"\\Inbox")->Saved();
    ASSERT_EQ(saved.size(), 2u);
    EXPECT_FALSE(saved[0]->Wrote("Body"));
    EXPECT_EQ(scenario.CountInLog(u"Status: Recovered"), 2u);
}

TEST(ComponentFailure, OfSavingIsNotLoggedAsRecovered)
{
    CRecoveryScenario scenario(TwoMails());
    scenario.component.FailCalls("Save", writer::E_FAIL, 0, 1);
    scenario.Run();
    EXPECT_EQ(scenario.component.SavedItems().size(), 1u);
    EXPECT_EQ(scenario.CountInLog(u"Status: Recovered"), 1u);
    EXPECT_EQ(scenario.pipeline->Figures().ItemsOf(recovery::ItemFamily::Mail), 1u);
}

TEST(ComponentFailure, OfTheFallbackFolderCostsItsItemsOnly)
{
    StoreDescription description = TwoMails();
    description.folders[0].messages[0].parent = 0x9FC2;
    CRecoveryScenario scenario(description);
    scenario.component.FailCalls("AddFolder:Lost & Found", writer::E_FAIL);
    scenario.Run();
    EXPECT_EQ(scenario.component.SavedItems(), std::vector<std::string>{"\\Inbox: IPM.Note"});
}

TEST(StorageFailure, AnywhereEndsTheRunWithOneMessageAndNoStore)
{
    for (const auto error : {writer::E_MEDIUMFULL, writer::E_WRITEFAULT}) {
        for (const char* call : {"AddPstStore", "AddFolder:Notes", "AddFolder:Inbox", "GetFolder:Inbox",
                                 "GetFolderFromPath", "AddItem", "SetFlag:Sent", "SetText:Subject",
                                 "SetText:DisplayTo", "SetText:Body", "Save", "Commit"}) {
            CRecoveryScenario scenario(TwoMails());
            scenario.component.FailCalls(call, error);
            scenario.Run();
            EXPECT_TRUE(scenario.state.failed) << call;
            EXPECT_EQ(scenario.frontEnd.BoxTexts(),
                      std::vector<std::u16string>{std::u16string(kComponentFailed)})
                << call;
            EXPECT_FALSE(exists(scenario.state.outputPath)) << call;
            EXPECT_FALSE(scenario.component.committed) << call;
            EXPECT_LE(scenario.component.CountCalls("AddItem"), call == std::string_view("Commit") ? 2u : 1u)
                << call << ": nothing more is tried";
            EXPECT_TRUE(scenario.frontEnd.All<platform::CompletionMessage>().empty()) << call;
        }
    }
}

TEST(ComponentFailure, OfCompletingTheStoreIsAFailedRun)
{
    CRecoveryScenario scenario(TwoMails());
    scenario.component.FailCalls("Commit", writer::E_FAIL);
    scenario.Run();
    EXPECT_TRUE(scenario.state.failed);
    EXPECT_FALSE(exists(scenario.state.outputPath));
    EXPECT_EQ(scenario.frontEnd.BoxTexts().size(), 1u);
}

TEST(CloseOutput, ReleasesTheSessionBeforeTheStore)
{
    CRecoveryScenario scenario(TwoMails());
    scenario.Run();
    const auto& calls = scenario.component.calls;
    const auto commit = std::ranges::find(calls, "Commit");
    ASSERT_NE(commit, calls.end());
    EXPECT_EQ(std::vector<std::string>(commit, calls.end()),
              (std::vector<std::string>{"Commit", "ReleaseSession", "ReleaseStore"}));
}

TEST(RecoveryPipeline, ServesOneRunAfterTheOther)
{
    CRecoveryScenario first(TwoMails());
    first.Run();
    CRecoveryScenario second(TwoMails());
    CSourceInMemory none({});
    // The same pipeline meets a source that cannot be used: nothing of the run before may show.
    store::COutLook engine(none, second.frontEnd, *first.pipeline);
    engine.Run(second.settings, second.state);
    EXPECT_TRUE(second.state.failed);
    EXPECT_EQ(first.component.CountCalls("Commit"), 1u);
    EXPECT_TRUE(exists(first.state.outputPath));
}

}  // namespace
}  // namespace pastille::tests
