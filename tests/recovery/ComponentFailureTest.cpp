#include <gtest/gtest.h>

#include "platform/Text.h"
#include "tests/recovery/RecoverySupport.h"

namespace pastille::tests {
namespace {

StoreDescription TwoMails()
{
    StoreDescription description;
    description.folders = {
        {.name = u"Inbox", .messages = {Mail(u"one", u"f", u"b1", 0), Mail(u"two", u"f", u"b2", 0)}}};
    return description;
}

TEST(ComponentFailure, CostsWhatItConcernsAndNothingElse)
{
    struct Case {
        const char* call;
        const char* lost = nullptr;  ///< a property of the first mail; none: the mail itself
    };
    const Case cases[] = {{"SetText:Subject", "Subject"},
                          {"SetDate:SubmitTime", "SubmitTime"},
                          {"SetText:DisplayTo", "DisplayTo"},
                          {"SetDate:DeliveryTime", "DeliveryTime"},
                          {"SetText:Body", "Body"},
                          {"AddItem"},
                          {"SetFlag:Sent"},
                          {"Save"}};
    for (const Case& one : cases) {
        SCOPED_TRACE(one.call);
        CRecoveryScenario scenario(TwoMails());
        scenario.component.FailCalls(one.call, writer::E_FAIL, 0, 1);
        scenario.Run();
        const auto saved = scenario.component.Folder(u"\\Inbox")->Saved();
        ASSERT_EQ(saved.size(), one.lost != nullptr ? 2u : 1u);
        EXPECT_EQ(saved.back()->Text("Subject"), u"two");
        if (one.lost != nullptr) {
            EXPECT_FALSE(saved[0]->Wrote(one.lost));
            EXPECT_TRUE(saved[1]->Wrote(one.lost));
            EXPECT_EQ(saved[0]->Text("SenderName"), u"f");
        }
        EXPECT_EQ(scenario.CountInLog(u"Status: Recovered"), saved.size());
        EXPECT_EQ(scenario.pipeline->Figures().ItemsOf(recovery::ItemFamily::Mail), saved.size());
        EXPECT_FALSE(scenario.state.failed);
        EXPECT_TRUE(scenario.component.committed);
    }
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

/// The text that an early end shows before the output path.
std::u16string EarlyEnd(writer::HRESULT error, bool isKept)
{
    std::u16string text = error == writer::E_MEDIUMFULL ? u"There is no room left for the new .pst file."
                          : error == writer::E_WRITEFAULT
                              ? u"The new .pst file could not be written any further."
                              : u"The new .pst file could not be completed.";
    text += u" The recovery ended early.\n";
    return text + (isKept ? u"What was saved until then is kept at:" : u"Nothing could be saved at:");
}

/// A call that fails, of those whose text begins so the one behind `skip` others.
struct FailingCall {
    const char* call;
    int skip = 0;
};

/// One message, nothing tried after the failure, and a file just when it holds something.
void ExpectEarlyEnd(CRecoveryScenario& scenario, const FailingCall& failing, writer::HRESULT error,
                    bool isKept, std::u16string message)
{
    SCOPED_TRACE(std::string(failing.call) + " after " + std::to_string(failing.skip) +
                 (isKept ? ", kept" : ", not kept"));
    scenario.component.FailCalls(failing.call, error, failing.skip);
    std::size_t callsBefore = 0;
    scenario.component.onFailure = [&] { callsBefore = scenario.component.CountCalls("AddItem"); };
    scenario.Run();
    EXPECT_TRUE(scenario.state.failed);
    EXPECT_EQ(scenario.pipeline->Failure(), error);
    EXPECT_EQ(scenario.frontEnd.BoxTexts(), std::vector<std::u16string>{message});
    EXPECT_EQ(exists(scenario.state.outputPath), isKept);
    EXPECT_EQ(scenario.state.hasOutput, isKept) << "a front end would show what is not this run's";
    EXPECT_EQ(scenario.component.CountCalls("AddItem"), callsBefore) << "nothing more is tried";
    EXPECT_EQ(scenario.component.liveStores, 0);
    EXPECT_TRUE(scenario.frontEnd.All<platform::CompletionMessage>().empty());
}

TEST(StorageFailure, EndsTheRunAndKeepsWhatWasCompleted)
{
    constexpr FailingCall kBeforeTheFirstItem[] = {
        {"AddFolder:Inbox"}, {"GetFolder:Inbox"},   {"GetFolderFromPath"}, {"AddItem"}, {"SetFlag:Sent"},
        {"SetText:Subject"}, {"SetText:DisplayTo"}, {"SetText:Body"},      {"Save"}};
    constexpr FailingCall kAfterIt[] = {{"AddItem", 1}, {"SetText:Body", 1}, {"Save", 1}, {"Commit"}};
    for (const auto error : {writer::E_MEDIUMFULL, writer::E_WRITEFAULT}) {
        const auto expect = [&](const FailingCall& call, bool completesOften, bool isKept) {
            CRecoveryScenario scenario(TwoMails());
            scenario.component.commitsEverySave = completesOften;
            const auto path = scenario.folder / "outlook Recovered" / "outlook Recovered.pst";
            ExpectEarlyEnd(scenario, call, error, isKept, EarlyEnd(error, isKept) + platform::PathText(path));
            EXPECT_EQ(scenario.CountInLog(EarlyEnd(error, isKept).substr(0, 30)), 1u);
        };
        for (const FailingCall& call : kBeforeTheFirstItem)
            expect(call, true, false);
        for (const FailingCall& call : kAfterIt) {
            expect(call, true, true);
            expect(call, false, false);
        }
    }
}

TEST(ComponentFailure, InTheSetUpEndsTheRunAndLeavesNoStore)
{
    for (const char* call : {"AddProfile", "Logon", "AddPstStore", "AddFolder:Contacts", "AddFolder:Calendar",
                             "SetDefaultFolderKind:13", "SetFolderFlag"}) {
        for (const auto error : {writer::E_FAIL, writer::E_MEDIUMFULL}) {
            CRecoveryScenario scenario(TwoMails());
            ExpectEarlyEnd(scenario, {call}, error, false,
                           u"Some component is missing.Please reinstall the application. ");
            EXPECT_FALSE(scenario.component.committed);
        }
    }
}

TEST(ComponentFailure, OfCompletingTheStoreIsAFailedRun)
{
    for (const bool isKept : {true, false}) {
        CRecoveryScenario scenario(TwoMails());
        scenario.component.commitsEverySave = isKept;
        const auto path = scenario.folder / "outlook Recovered" / "outlook Recovered.pst";
        ExpectEarlyEnd(scenario, {"Commit"}, writer::E_FAIL, isKept,
                       EarlyEnd(writer::E_FAIL, isKept) + platform::PathText(path));
    }
}

/// No store is lost because it cannot be read at the moment.
TEST(StorageFailure, KeepsAStoreThatCannotBeOpenedNow)
{
    CRecoveryScenario scenario(TwoMails());
    scenario.component.commitsEverySave = true;
    scenario.component.FailCalls("Save", writer::E_WRITEFAULT, 1);
    scenario.component.FailCalls("OpenPstStore", writer::E_FAIL);
    scenario.Run();
    EXPECT_TRUE(exists(scenario.state.outputPath));
}

TEST(CloseOutput, ReleasesTheSessionBeforeTheStore)
{
    CRecoveredStore scenario(TwoMails());
    const auto& calls = scenario.component.calls;
    const auto commit = std::ranges::find(calls, "Commit");
    ASSERT_NE(commit, calls.end());
    EXPECT_EQ(std::vector<std::string>(commit, calls.end()),
              (std::vector<std::string>{"Commit", "ReleaseSession", "ReleaseStore"}));
}

TEST(RecoveryPipeline, ServesOneRunAfterTheOther)
{
    CRecoveredStore first(TwoMails());
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
