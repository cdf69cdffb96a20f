#include "tests/cli/CliSupport.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

namespace pastille::tests {
namespace {

TEST(Usage, WrongCommandLinesAreRefusedBeforeAnythingIsDone)
{
    const CTemporaryFolder scratch;
    const std::string source = scratch.WriteFile("mail.pst", "x").string();
    const std::string to = scratch.MakeFolder("to").string();
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"mend"},
        {"repair"},
        {"repair", source},
        {"repair", "--to", to},
        {"repair", source, "--to"},
        {"repair", source, "--to", ""},
        {"repair", "", "--to", to},
        {"repair", source, source, "--to", to},
        {"repair", source, "--to", to, "--to", to},
        {"repair", source, "--to", to, "--code-page", "windows-9999"},
        {"repair", source, "--to", to, "--code-page", ""},
        {"repair", source, "--to", to, "--harder"},
        {"check"},
        {"check", ""},
        {"check", source, source},
        {"scan"},
        {"scan", ""},
        {"scan", source, "--to", to},
        {"scan", source, "--code-page", "windows-9999"},
    };
    const auto before = Listing(scratch.Path());
    for (const auto& arguments : wrong) {
        const CommandResult result = RunHere(arguments, scratch.Path() / "home");
        EXPECT_EQ(result.status, 2) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err, "");
    }
    EXPECT_EQ(Listing(scratch.Path()), before);
}

TEST(Usage, ComplaintsDoNotCarryControlCharactersToTheTerminal)
{
    const CTemporaryFolder scratch;
    const CommandResult result = RunHere({"repair", "a", "--to", "b", "--\x1B[31m"}, scratch.Path());
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err.find('\x1B'), std::string::npos);
}

TEST(Usage, WithJsonAlsoAWrongCommandLineGivesOneObject)
{
    const CTemporaryFolder scratch;
    struct Case {
        std::vector<std::string> arguments;
        const char* key;  ///< that this command's reports have
    };
    for (const auto& [arguments, key] :
         {Case{{"repair", "mail.pst", "--json"}, "output"}, Case{{"scan", "--json"}, "damage"}}) {
        const CommandResult result = RunHere(arguments, scratch.Path());
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(nlohmann::json::parse(result.out).at("status"), "failed");
        EXPECT_TRUE(nlohmann::json::parse(result.out).at(key).is_null());
    }
}

TEST(Usage, HelpAndVersionAreAnswersNotErrors)
{
    const CTemporaryFolder scratch;
    const std::vector<std::vector<std::string>> questions = {
        {"--help"}, {"--version"}, {"repair", "--help"}, {"scan", "--help"}, {"check", "--help"}};
    for (const auto& arguments : questions) {
        const CommandResult result = RunHere(arguments, scratch.Path());
        EXPECT_EQ(result.status, 0);
        EXPECT_NE(result.out, "");
        EXPECT_EQ(result.err, "");
    }
    const std::string help = RunHere({"repair", "--help"}, scratch.Path()).out;
    for (const char* option : {"SOURCE", "--to", "--smart", "--code-page", "--json", "--quiet"})
        EXPECT_NE(help.find(option), std::string::npos) << option;
}

}  // namespace
}  // namespace pastille::tests
