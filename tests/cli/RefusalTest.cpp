#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include "tests/cli/CliSupport.h"

namespace pastille::tests {
namespace {

constexpr const char* kCannotOpen =
    "Source file could not open.Make sure that another application is not using. ";
constexpr const char* kNotValid = "Pst/Ost file is not valid.";

struct BadInput {
    std::string name;
    std::filesystem::path path;
    std::string message;
};

std::string WithMagic(const std::string& clientMagic, std::size_t size)
{
    std::string bytes(size, '\0');
    bytes.replace(0, 4, "!BDN");
    bytes.replace(8, clientMagic.size(), clientMagic);
    return bytes;
}

std::vector<BadInput> BadInputs(const CTemporaryFolder& scratch)
{
    const auto fifo = scratch.Path() / "fifo.pst";
    EXPECT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::vector<BadInput> inputs = {
        {"missing", scratch.Path() / "nowhere.pst", kCannotOpen},
        {"directory", scratch.MakeFolder("folder.pst"), kCannotOpen},
        {"FIFO", fifo, kCannotOpen},
        {"device", "/dev/null", kCannotOpen},
        {"empty", scratch.WriteFile("empty.pst", ""), kNotValid},
        {"one byte", scratch.WriteFile("one.pst", "!"), kNotValid},
        {"511 bytes", scratch.WriteFile("511.pst", WithMagic("SM", 511)), kNotValid},
        {"text", scratch.WriteFile("text.pst", std::string(100000, 'a')), kNotValid},
        {"address book", scratch.WriteFile("book.pab", WithMagic("AB", 100000)), kNotValid},
        {"no page", scratch.WriteFile("hollow.pst", WithMagic("SM", 100000)), kNotValid},
    };
    if (::geteuid() != 0) {
        inputs.push_back({"unreadable", scratch.WriteFile("secret.pst", WithMagic("SM", 600)), kCannotOpen});
        std::filesystem::permissions(inputs.back().path, std::filesystem::perms::none);
    }
    return inputs;
}

using Arguments = std::vector<std::string>;

/// Every command that reads a source.
std::vector<Arguments> Commands(const BadInput& input, const std::string& to)
{
    return {{"repair", input.path.string(), "--to", to, "--json", "--quiet"},
            {"scan", input.path.string(), "--json", "--quiet"}};
}

TEST(BadInputs, EachFailsWithItsMessageAndLeavesNothingBehind)
{
    const CTemporaryFolder scratch;
    const std::string to = scratch.MakeFolder("to").string();
    const auto inputs = BadInputs(scratch);
    const auto before = Listing(scratch.Path());
    for (const BadInput& input : inputs) {
        for (const auto& command : Commands(input, to)) {
            SCOPED_TRACE(command.front() + " " + input.name);
            const CommandResult result = RunHere(command, scratch.Path() / "home");
            EXPECT_EQ(result.status, 1);
            EXPECT_EQ(result.err, "Error: " + input.message + "\n");
            auto report = nlohmann::json::parse(result.out);
            EXPECT_EQ(report.at("status"), "failed");
            EXPECT_EQ(report.at("messages"), nlohmann::json::array({input.message}));
            EXPECT_TRUE(report.contains("items"));
            for (const char* key : {"status", "messages", "source", "smartScan", "complete"})
                report.erase(key);
            for (const auto& [key, value] : report.items())
                EXPECT_TRUE(value.is_null()) << key << " claims something";
            EXPECT_EQ(Listing(scratch.Path()), before);
        }
    }
}

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
        {"repair", source, "--to", to, "--kind", "pst"},
        {"repair", source, "--to", to, "--complete", "--kind", "mbox"},
        {"repair", source, "--to", to, "--complete", "--kind", ""},
        {"check"},
        {"check", ""},
        {"check", source, source},
        {"scan"},
        {"scan", ""},
        {"scan", source, "--to", to},
        {"scan", source, "--complete"},
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

TEST(Usage, ComplaintsNameWhatIsWrong)
{
    const CTemporaryFolder scratch;
    EXPECT_NE(RunHere({"mend", "a.pst"}, scratch.Path()).err.find("mend"), std::string::npos);
    EXPECT_NE(RunHere({"repair", "a.pst", "--to", "b", "--harder"}, scratch.Path()).err.find("--harder"),
              std::string::npos);
    const std::string none = RunHere({}, scratch.Path()).err;
    for (const char* command : {"repair", "scan", "list", "check"})
        EXPECT_NE(none.find(command), std::string::npos) << command;
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
    for (const char* option :
         {"SOURCE", "--to", "--smart", "--complete", "--kind", "--code-page", "--json", "--quiet"})
        EXPECT_NE(help.find(option), std::string::npos) << option;
}

}  // namespace
}  // namespace pastille::tests
