#include "tests/cli/CliSupport.h"
#include "tests/support/StoreBuilder.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>

namespace pastille::tests {
namespace {

constexpr const char* kNoFolder =
    "Unable to create folder to save recovered .pst file.\n"
    "Please select another location to save recovered .pst file.";

/// Two folders, three mails and a contact.
CBuiltStore MakeStore()
{
    StoreDescription description;
    const auto mail = [](std::u16string_view subject) {
        return Mail(subject, u"Ann", u"Hello", FileTime(2020, 1, 2, 3, 4));
    };
    description.folders.push_back({.name = u"Inbox", .containerClass = u"IPF.Note"});
    description.folders.back().messages = {mail(u"one"), mail(u"two"), mail(u"three")};
    description.folders.push_back({.name = u"People", .containerClass = u"IPF.Contact"});
    StoreMessage contact = mail(u"Bob");
    contact.messageClass = u"IPM.Contact";
    description.folders.back().messages = {contact};
    return CBuiltStore(description);
}

/// A source and a destination, ready for a run.
struct RepairFixture : CommandFixture {
    std::filesystem::path to = scratch.MakeFolder("to");

    explicit RepairFixture(const std::string& sourceName = "mail.pst") : CommandFixture{"repair"}
    {
        source = scratch / sourceName;
        MakeStore().WriteTo(source);
    }
    std::vector<std::string> Arguments(const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> arguments{"repair", source.string(), "--to", to.string()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }
    CommandResult Run(const std::vector<std::string>& more = {}, bool terminal = false) const
    {
        return RunHere(Arguments(more), home, terminal);
    }
};

bool HasControlCharacter(const std::string& text)
{
    return std::ranges::any_of(text, [](unsigned char c) { return (c < 0x20 && c != '\n') || c == 0x7F; });
}

TEST(RepairResult, JsonTellsWhereTheStoreLiesAndWhatItHolds)
{
    const RepairFixture fixture;
    const CommandResult result = fixture.Run({"--json", "--quiet"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");

    const auto report = nlohmann::json::parse(result.out);
    EXPECT_EQ(report.at("status"), "done");
    EXPECT_TRUE(report.at("reason").is_null());
    EXPECT_EQ(report.at("messages"), nlohmann::json::array());
    EXPECT_EQ(report.at("output"), (fixture.to / "mail Recovered/mail Recovered.pst").string());
    EXPECT_EQ(report.at("log"), (fixture.to / "mail Recovered/LogInformation.log").string());
    const nlohmann::json items = {{"emails", 3},   {"contacts", 1}, {"tasks", 0}, {"calendar", 0},
                                  {"journals", 0}, {"notes", 0},    {"total", 4}};
    EXPECT_EQ(report.at("items"), items);
    EXPECT_EQ(report.at("variant"), "unicode");
    EXPECT_EQ(report.at("cryptMethod"), "permute");
    EXPECT_EQ(report.at("orphans"), 0);
    EXPECT_EQ(report.at("complete"), false);
    for (const char* key : {"nodes", "blocks", "folders"})
        EXPECT_GT(report.at(key), 0) << key;
    EXPECT_EQ(report.at("phaseSeconds").size(), 9);
    EXPECT_GT(report.at("phaseSeconds").at("nodeScan"), 0.0);
}

TEST(RepairResult, OfACompleteRecoveryIsMarkedAsOne)
{
    const RepairFixture fixture;
    const CommandResult result = fixture.Run({"--complete", "--kind", "pst", "--json", "--quiet"});
    ASSERT_EQ(result.status, 0) << result.err;
    const auto report = nlohmann::json::parse(result.out);
    EXPECT_EQ(report.at("complete"), true);
    EXPECT_EQ(report.at("items").at("total"), 4);
    const Bytes log = FileBytes(fixture.to / "mail Recovered/LogInformation.log");
    EXPECT_NE(TextOf(log).find(u"\r\nComplete recovery\r\n"), std::u16string::npos);
}

TEST(RepairResult, TextTellsTheSame)
{
    const RepairFixture fixture;
    const CommandResult result = fixture.Run();
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.out.find((fixture.to / "mail Recovered/mail Recovered.pst").string()),
              std::string::npos);
    EXPECT_NE(result.out.find((fixture.to / "mail Recovered/LogInformation.log").string()),
              std::string::npos);
    const std::string squeezed = Squeezed(result.out);
    for (const char* line : {"Emails:3\n", "Contacts:1\n", "Tasks:0\n", "Calendar:0\n", "Journals:0\n",
                             "Notes:0\n", "Totalitems:4\n"})
        EXPECT_NE(squeezed.find(line), std::string::npos) << line << result.out;
}

TEST(RepairResult, NothingChangesOutsideTheFoldersOfTheRun)
{
    const RepairFixture fixture;
    const Bytes sourceBefore = FileBytes(fixture.source);
    auto expected = Listing(fixture.scratch.Path());
    ASSERT_EQ(fixture.Run({"--smart"}).status, 0);

    EXPECT_TRUE(FileBytes(fixture.source) == sourceBefore);
    for (const char* made : {"to/mail Recovered", "to/mail Recovered/LogInformation.log",
                             "to/mail Recovered/mail Recovered.pst"})
        expected.emplace_back(made);
    std::ranges::sort(expected);
    auto after = Listing(fixture.scratch.Path());
    std::erase_if(after, [](const std::string& path) { return path.starts_with("home/data"); });
    EXPECT_EQ(after, expected);
}

TEST(RepairResult, EveryRunHasAFolderOfItsOwn)
{
    const RepairFixture fixture;
    for (const char* folder : {"mail Recovered", "mail Recovered0", "mail Recovered1"}) {
        const CommandResult result = fixture.Run({"--json"});
        EXPECT_EQ(nlohmann::json::parse(result.out).at("output"),
                  (fixture.to / folder / "mail Recovered.pst").string());
    }
}

TEST(RepairResult, AFolderThatCannotBeMadeFailsTheRun)
{
    const RepairFixture fixture;
    std::filesystem::create_directory(fixture.to / "mail Recovered");
    const auto before = Listing(fixture.scratch.Path());
    for (const auto& destination : {fixture.to, fixture.scratch.Path() / "missing", fixture.source}) {
        SCOPED_TRACE(destination);
        // A home of its own, so that no earlier run's profile moves this one to another folder.
        const CTemporaryFolder home;
        const CommandResult result =
            RunHere({"repair", fixture.source.string(), "--to", destination.string(), "--json", "--quiet"},
                    home.Path());
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, std::string("Error: ") + kNoFolder + "\n");
        const auto report = nlohmann::json::parse(result.out);
        EXPECT_EQ(report.at("status"), "failed");
        EXPECT_EQ(report.at("messages"), nlohmann::json::array({kNoFolder}));
        EXPECT_TRUE(report.at("output").is_null());
        EXPECT_EQ(Listing(fixture.scratch.Path()), before);
    }
}

TEST(RepairResult, NamesOfAnyBytesStayWithinTheirLine)
{
    const RepairFixture fixture("a\xFF\x1B]0;b\x07\n\xC2\x9B.pst");
    const CommandResult text = fixture.Run();
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_FALSE(HasControlCharacter(text.out)) << text.out;
    EXPECT_FALSE(HasControlCharacter(text.err)) << text.err;

    const CommandResult json = fixture.Run({"--json"});
    EXPECT_EQ(json.status, 0) << json.err;
    EXPECT_FALSE(HasControlCharacter(json.out));
    EXPECT_EQ(nlohmann::json::parse(json.out).at("status"), "done");
}

TEST(RepairResult, ProgressFitsWhatTheErrorStreamIs)
{
    const RepairFixture fixture;
    const std::string lines = fixture.Run().err;
    for (int phase = 1; phase <= 8; ++phase)
        EXPECT_NE(lines.find("Phase " + std::to_string(phase) + " of 8: "), std::string::npos) << phase;
    EXPECT_EQ(lines.find('\r'), std::string::npos);

    const std::string inPlace = fixture.Run({}, true).err;
    EXPECT_EQ(std::ranges::count(inPlace, '\n'), 1) << inPlace;
    EXPECT_EQ(inPlace.front(), '\r');

    EXPECT_EQ(fixture.Run({"--quiet"}, true).err, "");
}

/// No file of the process may become larger, as on a disk that is full.
class CFileSizeLimit {
public:
    explicit CFileSizeLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~CFileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    CFileSizeLimit(const CFileSizeLimit&) = delete;
    CFileSizeLimit& operator=(const CFileSizeLimit&) = delete;

private:
    rlimit m_before{};
};

TEST(RepairResult, AFullDiskIsToldAndFailsTheRun)
{
    StoreDescription description;
    description.folders = {{.name = u"Inbox", .containerClass = u"IPF.Note"}};
    description.folders[0].messages = {Mail(u"long", u"Ann", std::u16string(300'000, u'x'), 0)};
    const CBuiltStore source(description);
    for (const rlim_t room : {rlim_t{100'000}, rlim_t{300'000}}) {  // less and more than an empty store takes
        const RepairFixture fixture;
        source.WriteTo(fixture.source);
        const std::string output = (fixture.to / "mail Recovered/mail Recovered.pst").string();
        const std::string message =
            room < 250'000 ? "Some component is missing.Please reinstall the application. "
                           : "There is no room left for the new .pst file. The recovery ended early.\n"
                             "Nothing could be saved at:" +
                                 output;
        const CFileSizeLimit limit(room);
        const CommandResult result = RunProgram(fixture.Arguments({"--json", "--quiet"}), fixture.home);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "Error: " + message + "\n");
        const auto report = nlohmann::json::parse(result.out);
        EXPECT_EQ(report.at("status"), "failed");
        EXPECT_EQ(report.at("reason"), "no-room");
        EXPECT_EQ(report.at("messages"), nlohmann::json::array({message}));
        EXPECT_TRUE(report.at("output").is_null());
        EXPECT_FALSE(std::filesystem::exists(output));
    }
}

TEST(RepairResult, AReaderThatGoesAwayDoesNotHurtTheRun)
{
    const RepairFixture fixture;
    const CommandResult result =
        RunProgram(fixture.Arguments({"--json"}), fixture.home, {}, OutputReader::GoesAway);
    EXPECT_EQ(result.status, 1) << "the report did not arrive";
    EXPECT_TRUE(std::filesystem::exists(fixture.to / "mail Recovered/mail Recovered.pst"));
}

}  // namespace
}  // namespace pastille::tests
