#include "tests/cli/CliSupport.h"
#include "tests/support/StoreBuilder.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <algorithm>

namespace pastille::tests {
namespace {

/// A store of 3 MiB with names that a terminal must not get as they are, and a home of its own.
struct ScanFixture : CommandFixture {
    CBuiltStore store = MakeStore();

    ScanFixture() : CommandFixture{"scan"} { store.WriteTo(source); }
    CommandResult Scan(const std::vector<std::string>& more = {}) const { return Run(source, more); }

    static CBuiltStore MakeStore()
    {
        StoreMessage mail = Mail(u"one", u"Ann", u"Hello", FileTime(2020, 1, 2, 3, 4));
        mail.attachments = {{.fileName = u"a.bin", .data = Bytes(3 << 20, std::byte{7}), .inSubnode = true}};
        StoreMessage odd = Mail(u"two", u"Ann", u"Hello", 0);
        odd.messageClass = u"\x1B[31mXYZ";
        StoreMessage contact = Mail(u"Bob", u"", u"", 0);
        contact.messageClass = u"IPM.Contact";
        contact.parent = 0x9FC2;
        StoreDescription description;
        description.folders = {{.name = u"In\x1B"
                                        u"box",
                                .messages = {mail, odd, contact}},
                               {.name = u"Empty"}};
        return CBuiltStore(description);
    }
    /// Zeroes a sector of a block of the attachment; returns the number of its stretch.
    std::size_t DamageSector()
    {
        const auto blocks = store.Directory().All(PlaceKind::Data);
        const StorePlace& place = blocks.at(blocks.size() / 2);
        store.Damage().Zero(place.offset + 512, 512);
        store.WriteTo(source);
        return static_cast<std::size_t>(place.offset >> 20);
    }
};

TEST(Scan, JsonTellsWhatARepairWouldBring)
{
    ScanFixture fixture;
    const std::size_t damaged = fixture.DamageSector();
    const CommandResult result = fixture.Scan({"--json", "--quiet", "--smart"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const auto report = nlohmann::json::parse(result.out);
    EXPECT_EQ(report.at("status"), "done");
    EXPECT_EQ(report.at("kind"), "pst");
    EXPECT_EQ(report.at("variant"), "unicode");
    EXPECT_EQ(report.at("cryptMethod"), "permute");
    EXPECT_EQ(report.at("fileSize"), std::filesystem::file_size(fixture.source));
    EXPECT_EQ(report.at("declaredSize"), report.at("fileSize"));
    const auto& items = report.at("items");
    EXPECT_EQ(items.at("contacts"), 1);
    EXPECT_EQ(items.at("lostAndFound"), 1);
    EXPECT_EQ(items.at("total"), items.at("emails").get<int>() + 1);
    const nlohmann::json inbox = {{"path",
                                   "\\In\x1B"
                                   "box"},
                                  {"items", 2}};
    EXPECT_EQ(std::ranges::count(report.at("folders"), inbox), 1);
    std::string map(report.at("damage").at("map").get<std::string>().size(), '.');
    map.at(damaged) = 'x';
    EXPECT_EQ(report.at("damage").at("map"), map);
    EXPECT_EQ(report.at("damage").at("blocks"), 1);
    EXPECT_GT(report.at("nodePages").at("accepted"), 0);
    EXPECT_GT(report.at("blockPages").at("entries"), 0);
    EXPECT_EQ(report.at("unreadable"), nlohmann::json::array());
}

TEST(Scan, TextTellsTheSameToPeople)
{
    ScanFixture fixture;
    const std::size_t damaged = fixture.DamageSector();
    const CommandResult result = fixture.Scan();
    ASSERT_EQ(result.status, 0);
    std::string map(fixture.store.Content().size() / (1 << 20) + 1, '.');
    map.at(damaged) = 'x';
    EXPECT_NE(result.out.find("0 MiB  " + map + "\n"), std::string::npos) << result.out;
    for (const char* expected : {"Items:3\n", "Contacts:1\n", "\n2\\In\\x1Bbox\n", "\n0\\Empty\n",
                                 "1\\Lost&Found\n", "Damagedblocks:1\n"})
        EXPECT_NE(Squeezed(result.out).find(expected), std::string::npos) << expected << result.out;
    EXPECT_EQ(result.out.find('\x1B'), std::string::npos);
    // The phase that sets up an output is none of a scan's.
    for (int phase = 1; phase <= 7; ++phase)
        EXPECT_NE(result.err.find("Phase " + std::to_string(phase) + " of 7: "), std::string::npos) << phase;
}

TEST(Scan, NothingIsWritten)
{
    const ScanFixture fixture;
    const auto before = Listing(fixture.scratch.Path());
    const Bytes bytes = FileBytes(fixture.source);
    EXPECT_EQ(RunProgram({"scan", fixture.source.string(), "--smart"}, fixture.home).status, 0);
    EXPECT_EQ(Listing(fixture.scratch.Path()), before);
    EXPECT_TRUE(FileBytes(fixture.source) == bytes);
}

TEST(Scan, ATruncatedFileIsSaidToBeSo)
{
    const ScanFixture fixture;
    std::filesystem::resize_file(fixture.source, std::filesystem::file_size(fixture.source) - 1234);
    const CommandResult result = fixture.Scan({"--quiet"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_NE(Squeezed(result.out).find("Missingattheend:1,234bytes\n"), std::string::npos) << result.out;
}

}  // namespace
}  // namespace pastille::tests
