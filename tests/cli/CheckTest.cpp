#include "tests/cli/CliSupport.h"

#include "cli/CommandLine.h"
#include "component/BuiltInComponent.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/StoreExample.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace pastille::tests {
namespace {

using Json = nlohmann::json;

/// A sound store, and the same with a bit changed in each of so many of its data blocks.
void WriteStore(const std::filesystem::path& path, std::size_t spoiledBlocks)
{
    CBuiltStore store(DescribeExample());
    const auto blocks = store.Directory().All(PlaceKind::Data);
    ASSERT_GE(blocks.size(), spoiledBlocks);
    for (std::size_t i = 0; i < spoiledBlocks; ++i)
        store.Damage().FlipBits(blocks[i].offset, 1);
    store.WriteTo(path);
}

TEST(Check, ExitStatusAndBothReportsSayTheSame)
{
    const CTemporaryFolder scratch;
    const auto path = scratch.Path() / "store\x1B.pst";
    struct Case {
        std::size_t spoiledBlocks;
        int status;
        const char* word;
    };
    for (const Case& each : {Case{0, 0, "warnings"}, Case{3, 1, "errors"}}) {
        WriteStore(path, each.spoiledBlocks);
        const Bytes before = FileBytes(path);
        const CommandResult text = RunHere({"check", path.string()}, scratch.Path());
        const CommandResult json = RunHere({"check", "--json", path.string()}, scratch.Path());
        EXPECT_EQ(text.status, each.status) << text.out;
        EXPECT_EQ(json.status, each.status) << json.out;
        EXPECT_EQ(text.out.find('\x1B'), std::string::npos);
        const Json report = Json::parse(json.out);
        EXPECT_EQ(report.at("status"), each.word);
        EXPECT_EQ(report.at("errors"), each.spoiledBlocks);
        EXPECT_GT(report.at("warnings"), 0) << "the store is of an old kind";
        const auto lines = static_cast<std::size_t>(std::ranges::count(text.out, '\n'));
        EXPECT_EQ(lines, report.at("findings").size() + 1);
        std::size_t errors = 0;
        for (const Json& finding : report.at("findings")) {
            const auto severity = finding.at("severity").get<std::string>();
            const auto code = finding.at("code").get<std::string>();
            errors += code == "block-crc" && severity == "error" ? 1 : 0;
            const std::string line =
                severity + " " + code + ": " + finding.at("place").get<std::string>() + ": ";
            EXPECT_NE(text.out.find(line), std::string::npos) << line;
        }
        EXPECT_EQ(errors, each.spoiledBlocks);
        for (const Json& rule : report.at("rules"))
            if (rule.at("code") == "block-crc") {
                EXPECT_EQ(rule.at("count"), each.spoiledBlocks);
            }
        EXPECT_TRUE(FileBytes(path) == before);
    }
}

TEST(Check, WhatIsNoStoreHasAStatusOfItsOwn)
{
    const CTemporaryFolder scratch;
    const std::string noStore = scratch.WriteFile("text", "Dear diary").string();
    for (const std::string& path :
         {noStore, (scratch.Path() / "nothing").string(), scratch.Path().string()}) {
        const CommandResult result = RunHere({"check", path, "--json"}, scratch.Path());
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(Json::parse(result.out).at("status"), "unreadable");
        EXPECT_EQ(Json::parse(result.out).at("messages").size(), 1u);
    }
    const CommandResult usage = RunHere({"check", "--json"}, scratch.Path());
    EXPECT_EQ(usage.status, 2);
    EXPECT_EQ(Json::parse(usage.out).at("status"), "unreadable");
}

/// Hands out new stores with a byte changed when they are opened for reading.
class CSpoilingFileSystem final : public CFileSystemAbove {
public:
    std::unique_ptr<platform::IByteSource> OpenSource(const std::filesystem::path& path) override
    {
        auto source = m_below.OpenSource(path);
        if (!isSpoiling || !source || path.string().find("Recovered") == std::string::npos)
            return source;
        m_bytes.emplace_back(source->Size());
        source->ReadAt(0, m_bytes.back());
        m_bytes.back()[0x10] ^= std::byte{1};  // dwReserved1, which nothing but the checksums covers
        return std::make_unique<CMemorySource>(m_bytes.back());
    }

    bool isSpoiling = false;

private:
    std::vector<Bytes> m_bytes;
};

TEST(Check, ARepairWhoseStoreIsNotSoundHasFailed)
{
    for (const bool isSpoiling : {false, true}) {
        const CTemporaryFolder scratch;
        const auto source = scratch.Path() / "mail.pst";
        WriteStore(source, 0);
        CSpoilingFileSystem files;
        files.isSpoiling = isSpoiling;
        component::CBuiltInComponent component(platform::HostFileSystem(), scratch.Path() / "profiles");
        std::ostringstream out;
        std::ostringstream err;
        cli::CommandContext context{out, err, false, files, component};
        const auto status = cli::RunCommandLine(
            {"repair", source.string(), "--to", scratch.Path().string(), "--verify", "--json"}, context);
        const Json report = Json::parse(out.str());
        EXPECT_EQ(static_cast<int>(status), isSpoiling ? 1 : 0) << out.str();
        EXPECT_EQ(report.at("status"), isSpoiling ? "failed" : "done");
        EXPECT_EQ(report.at("check").at("errors"), isSpoiling ? 2u : 0u) << report.at("check");
        EXPECT_EQ(report.at("check").at("status"), isSpoiling ? "errors" : "sound");
        EXPECT_EQ(err.str().find("not sound") != std::string::npos, isSpoiling);
    }
}

}  // namespace
}  // namespace pastille::tests
