#include "recovery/OutputSetup.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "tests/recovery/RecoverySupport.h"

namespace pastille::tests {
namespace {

TEST(OutputNames, ComeFromTheSourceNameUpToItsFirstDot)
{
    const std::pair<const char*, const char*> cases[] = {
        {"/m/outlook.pst", "outlook Recovered"},
        {"/m/my.backup.pst", "my Recovered"},
        {"/m/mailbox", " Recovered"},
        {"/m/.hidden.pst", " Recovered"},
        {"/m/a\\b.pst", "a_b Recovered"},
        {"/m/\xC3\xA9t\xC3\xA9.pst", "\xC3\xA9t\xC3\xA9 Recovered"},
    };
    for (const auto& [source, expected] : cases)
        EXPECT_EQ(recovery::StoreNameOf(source), expected) << source;
}

TEST(OutputNames, DestinationLosesOneTrailingSeparatorAndTheRootStaysTheRoot)
{
    const std::pair<const char*, const char*> cases[] = {
        {"/out", "/out/x Recovered0"},
        {"/out/", "/out/x Recovered0"},
        {"/", "/x Recovered0"},
        {"sub/", "sub/x Recovered0"},
    };
    for (const auto& [destination, expected] : cases) {
        const auto names = recovery::CandidateNames(destination, "x Recovered", "0");
        EXPECT_EQ(names.folder, expected) << destination;
        EXPECT_EQ(names.pst, std::string(expected) + "/x Recovered.pst") << destination;
        EXPECT_EQ(names.log, std::string(expected) + "/LogInformation.log") << destination;
        EXPECT_EQ(names.profile, u"Pastille0");
    }
}

TEST(OutputSetup, AsksTheComponentInOrderAndMakesTheSpecialFolders)
{
    CRecoveredStore scenario;

    const std::vector<std::string> expected = {
        "FindProfile:Pastille", "AddProfile:Pastille", "Logon:Pastille",
        "AddPstStore",          "AddFolder:Contacts",  "SetDefaultFolderKind:10",
        "SetFolderFlag:1",      "AddFolder:Journal",   "SetDefaultFolderKind:11",
        "SetFolderFlag:1",      "AddFolder:Tasks",     "SetDefaultFolderKind:13",
        "SetFolderFlag:1",      "AddFolder:Notes",     "SetDefaultFolderKind:12",
        "SetFolderFlag:1",      "AddFolder:Calendar",  "SetDefaultFolderKind:9",
        "SetFolderFlag:1"};
    std::vector<std::string> made = scenario.component.calls;
    std::erase(made, "ReleaseStore");
    ASSERT_GE(made.size(), expected.size());
    made.resize(expected.size());
    EXPECT_EQ(made, expected);
    EXPECT_EQ(scenario.component.storePath, scenario.folder / "outlook Recovered" / "outlook Recovered.pst");
    EXPECT_EQ(scenario.component.storeName, u"outlook Recovered");
    EXPECT_FALSE(scenario.state.failed);
    EXPECT_TRUE(scenario.component.committed);
}

TEST(OutputSetup, TakesTheFirstCandidateWhoseProfileIsFree)
{
    CRecoveryScenario scenario;
    scenario.component.profiles = {u"Pastille", u"Pastille0"};
    scenario.Run();
    EXPECT_EQ(scenario.state.profileName, u"Pastille1");
    EXPECT_EQ(scenario.component.loggedOnTo, u"Pastille1");
    EXPECT_EQ(scenario.state.outputFolder, scenario.folder / "outlook Recovered1");
    EXPECT_EQ(scenario.state.outputPath, scenario.state.outputFolder / "outlook Recovered.pst");
    EXPECT_EQ(scenario.state.storeName, u"outlook Recovered");
    EXPECT_TRUE(exists(scenario.state.logPath));

    CRecoveryScenario failing;
    failing.component.profiles = {u"Pastille"};
    failing.component.FailCalls("FindProfile", writer::E_FAIL);
    failing.Run();
    EXPECT_EQ(failing.state.profileName, u"Pastille") << "a failing test counts as a free name";
}

TEST(OutputSetup, AnUnregisteredComponentStartsTheHelper)
{
    for (const bool canStart : {true, false}) {
        CRecoveryScenario scenario;
        scenario.component.isRegistered = false;
        std::vector<std::filesystem::path> started;
        scenario.options.helperProgram = "/opt/pastille/Reg.exe";
        scenario.options.startProgram = [&](const std::filesystem::path& program) {
            started.push_back(program);
            return canStart;
        };
        scenario.Run();

        EXPECT_EQ(started, std::vector<std::filesystem::path>{"/opt/pastille/Reg.exe"});
        const auto boxes = scenario.frontEnd.All<platform::BoxMessage>();
        ASSERT_EQ(boxes.size(), 1u);
        EXPECT_EQ(boxes[0].text, canStart ? u"Application is registering dll files.Please relaunch the "
                                            u"application to recover your .pst file. "
                                          : u"Some component is missing.Please reinstall the application.");
        EXPECT_EQ(boxes[0].caption, canStart ? u"Information" : u"Error");
        EXPECT_TRUE(scenario.state.failed);
        EXPECT_TRUE(is_empty(scenario.folder.Path()));
        EXPECT_TRUE(scenario.frontEnd.All<platform::CompletionMessage>().empty());
    }
}

TEST(RunLog, StartsWithItsHeaderByteForByte)
{
    CRecoveryScenario scenario;
    scenario.settings.smartScan = true;
    scenario.Run();

    std::ifstream file(scenario.state.logPath, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(bytes.substr(0, 6), std::string("\xFF\xFEV\0a\0", 6));
    const std::u16string header =
        u"Validation Successful in SmartScan Scan\n\n\r\n\nSource File Path:/mail/outlook.pst"
        u"\r\n\r\nDestination File Path:" +
        platform::PathText(scenario.state.outputPath) +
        u"\r\n\r\nStart date and time : Sunday, November 22, 2026,21:05:09"
        u"\r\n\r\n-------------Scanning source file----------------\r\nCollecting NBT Entries"
        u"\r\nCollecting BBT Entries"
        u"\r\n\r\n---------Recovering name of folders and mail items---------";
    EXPECT_EQ(scenario.Log().substr(0, header.size()), header);

    CRecoveredStore normal;
    EXPECT_TRUE(normal.Log().starts_with(u"Validation Successful in Normal Scan\n\n\r\n\nSource"));

    CRecoveryScenario complete;
    complete.settings.complete = true;
    complete.Run();
    EXPECT_TRUE(complete.Log().starts_with(
        u"Validation Successful in Normal Scan\n\n\r\nComplete recovery\r\n\nSource File Path:"));
}

TEST(RunLog, TheRunGoesOnWithoutALog)
{
    CRecoveryScenario scenario(InFolders({{.name = u"Inbox", .messages = {Mail(u"S", u"F", u"B", 0)}}}));
    scenario.faults.failingCreate = 1;  // the log is the first file that the run itself creates
    scenario.Run();
    EXPECT_FALSE(exists(scenario.state.logPath));
    EXPECT_FALSE(scenario.state.failed);
    EXPECT_EQ(scenario.component.SavedItems(), std::vector<std::string>{"\\Inbox: IPM.Note"});
}

TEST(RunLog, AFailingWriteCostsTheEntriesThatWaitedForIt)
{
    CTemporaryFolder folder;
    FileFaults faults;
    faults.diskBytes = 2;
    CFaultyFileSystem fileSystem(faults);
    recovery::CRunLog log;
    log.Create(fileSystem, folder / "log");
    log.Write(u"lost");
    log.Write(std::u16string(100'000, u'x'));  // more than waits
    fileSystem.faults.diskBytes.reset();
    log.Write(u"three");
    log.Close();
    log.Write(u"never");
    EXPECT_EQ(file_size(folder / "log"), 2u + 2 * 5);
}

}  // namespace
}  // namespace pastille::tests
