#include "format/Bytes.h"
#include "tests/cli/CliSupport.h"
#include "tests/support/OutsideReaders.h"
#include "tests/support/Samples.h"
#include "tests/support/StoreBuilder.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "platform/Text.h"

namespace pastille::tests {
namespace {

using Json = nlohmann::json;

/// A home and a place for files, and the command run on them.
struct ListFixture : CommandFixture {
    ListFixture() : CommandFixture{"list"} {}

    std::filesystem::path Write(const CBuiltStore& store, const std::string& name = "mail.pst") const
    {
        store.WriteTo(scratch.Path() / name);
        return scratch.Path() / name;
    }
    /// The JSON of a listing that succeeds.
    Json Read(const std::filesystem::path& store, std::vector<std::string> more = {}) const
    {
        more.emplace_back("--json");
        const CommandResult result = Run(store, more);
        EXPECT_EQ(result.status, 0) << store << ": " << result.err;
        EXPECT_EQ(result.err, "");
        return Json::parse(result.out);
    }
};

Json FolderOf(const Json& listing, const std::string& path)
{
    const auto& folders = listing.at("folders");
    const auto found =
        std::ranges::find_if(folders, [&](const Json& folder) { return folder.at("path") == path; });
    return found == folders.end() ? Json() : *found;
}

// ---- against other readers

/// A path as the other program names its folders.
std::string AsOthersName(std::string path)
{
    std::ranges::replace(path, '\\', '/');
    std::ranges::replace(path, '&', '_');
    return path == "/" ? "" : path;
}

/// Whether the other program knows items of that class; it passes over posts, settings and the like.
bool IsKnownToOthers(const std::string& messageClass)
{
    constexpr std::array kKnown{"IPM.Note",        "REPORT.",      "IPM.Schedule.Meeting.",
                                "IPM.Appointment", "IPM.Contact",  "IPM.DistList",
                                "IPM.Task",        "IPM.Activity", "IPM.StickyNote"};
    return std::ranges::any_of(kKnown, [&](const char* known) { return messageClass.starts_with(known); });
}

/// The folder's path as a listing has it, whatever the other program takes for the top.
std::string BelowTop(const std::string& folder, const std::string& top)
{
    return folder.starts_with("/" + top) ? folder.substr(top.size() + 1) : folder;
}

using Subjects = std::map<std::string, std::multiset<std::string>>;  ///< by folder

/// Every folder that the other program finds items in is listed with the same subjects, and no other has any.
void ExpectAsOthersReadIt(const ListFixture& fixture, const std::filesystem::path& store)
{
    SCOPED_TRACE(store);
    const bool isJapanese = store.filename() == "contacts-ansi.pst";
    const std::vector<std::string> codePage{"--code-page", isJapanese ? "windows-932" : "windows-1252"};
    const Json listing = fixture.Read(store, codePage);
    const auto found = ReadItemsWithPffexport(store, {.values = false, .codePage = codePage[1]});
    if (!found)
        GTEST_SKIP() << "pffexport is not installed";
    const std::string top = listing.at("folders").at(0).at("name");
    Subjects listed, theirs;
    for (const Json& folder : listing.at("folders")) {
        const std::string path = folder.at("path");
        if (folder.at("items") == 0)
            continue;
        const Json items = fixture.Read(store, {"--folder", path, codePage[0], codePage[1]}).at("items");
        EXPECT_EQ(folder.at("items"), items.size());
        for (const Json& item : items)
            if (IsKnownToOthers(item.at("class")))
                listed[AsOthersName(path)].insert(FromAscii(item.at("subject")));
    }
    for (const FoundItem& item : *found)
        theirs[BelowTop(item.folder, top)].insert(item.Line("Subject"));
    EXPECT_EQ(listed, theirs);
}

TEST(List, TellsOfSamplesWhatOthersRead)
{
    if (Samples().empty())
        GTEST_SKIP() << "no samples";
    const ListFixture fixture;
    for (const auto& sample : Samples())
        ExpectAsOthersReadIt(fixture, sample);
}

// ---- what stands in a listing

TEST(List, TellsAllOfFoldersAndItemsInEveryVariant)
{
    for (const format::Variant variant : kAllVariants) {
        SCOPED_TRACE(static_cast<int>(variant));
        const ListFixture fixture;
        StoreDescription description;
        description.format.variant = variant;
        description.codePage = "windows-1251";
        description.displayName = u"Почта";
        StoreMessage mail = Mail(u"Привет", u"Ада", u"text", FileTime(2020, 2, 29, 13, 5));
        mail.properties.push_back(Time(format::pid::kMessageDeliveryTime, FileTime(2020, 3, 1, 1, 2)));
        mail.attachments = {{.fileName = u"a.bin", .data = Bytes(100'000, std::byte{'a'})},
                            Embed(mail, u"inner")};
        StoreMessage unread = Mail(u"two", u"", u"", FileTime(2019, 1, 1));
        unread.flags = 0;
        StoreMessage hidden = Mail(u"settings", u"", u"", 0);
        hidden.associated = true;
        description.folders = {{.name = u"Входящие",
                                .containerClass = u"IPF.Note",
                                .messages = {mail, unread, hidden},
                                .folders = {{.name = u"a\\b"}}}};
        const auto store = fixture.Write(CBuiltStore(description));
        const std::vector<std::string> codePage{"--code-page", "windows-1251"};
        const Json listing = fixture.Read(store, codePage);
        EXPECT_EQ(listing.at("name"), "Почта");
        EXPECT_EQ(listing.at("status"), "done");
        const Json inbox = {{"path", "\\Входящие"}, {"name", "Входящие"}, {"class", "IPF.Note"},
                            {"items", 2},           {"unread", 1},        {"folders", 1}};
        EXPECT_EQ(FolderOf(listing, "\\Входящие"), inbox);
        EXPECT_EQ(FolderOf(listing, "\\Входящие\\a\\b").at("items"), 0);

        const Json items =
            fixture.Read(store, {"--folder", "Входящие", codePage[0], codePage[1]}).at("items");
        ASSERT_EQ(items.size(), 2u);
        EXPECT_EQ(items[0].at("class"), "IPM.Note");
        EXPECT_EQ(items[0].at("subject"), "Привет");
        EXPECT_EQ(items[0].at("from"), "Ада");
        EXPECT_EQ(items[0].at("submitted"), "2020-02-29T13:05:00Z");
        EXPECT_EQ(items[0].at("delivered"), "2020-03-01T01:02:00Z");
        EXPECT_EQ(items[0].at("attachments"), 2);
        EXPECT_GT(items[0].at("size"), 100'000);
        EXPECT_EQ(items[0].at("unread"), false);
        EXPECT_EQ(items[1].at("number"), 2);
        EXPECT_EQ(items[1].at("unread"), true);
        const CommandResult text = fixture.Run(store, {"--folder", "\\Входящие", codePage[0], codePage[1]});
        EXPECT_NE(text.out.find("2020-03-01 01:02"), std::string::npos) << "delivery before submission";
        EXPECT_NE(text.out.find("Привет"), std::string::npos);
        EXPECT_EQ(fixture.Run(store, {"--folder", "\\Входящие\\a", codePage[0], codePage[1]}).status, 2);
    }
}

TEST(List, LetsNoControlCharacterThrough)
{
    const ListFixture fixture;
    StoreDescription description;
    StoreMessage mail = Mail(
        u"\x1B[2J\u009B"
        u"31m\u202E",
        u"\x07"
        u"Ann",
        u"", 0);
    description.folders = {{.name = u"In\u202E"
                                    u"box",
                            .messages = {mail}}};
    const auto store = fixture.Write(CBuiltStore(description));
    const std::string path = fixture.Read(store).at("folders").at(2).at("path");
    EXPECT_EQ(path,
              "\\In\u202E"
              "box");
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{}, {"--json"}, {"--folder", path}, {"--folder", path, "--json"}}) {
        const CommandResult result = fixture.Run(store, options);
        EXPECT_EQ(result.status, 0);
        for (const char* const bad : {"\x1B", "\x07", "\u009B", "\u202E"})
            EXPECT_EQ(result.out.find(bad), std::string::npos);
    }
    // The path as it is shown names the folder too.
    EXPECT_EQ(fixture
                  .Run(store, {"--folder",
                               "\\In\\xE2\\x80\\xAE"
                               "box"})
                  .status,
              0);
}

TEST(List, OpensNothingForWriting)
{
    const ListFixture fixture;
    const CBuiltStore built(InFolders({{.name = u"Inbox", .messages = {Mail(u"one", u"Ann", u"", 0)}}}));
    const auto store = fixture.Write(built);
    ASSERT_EQ(::chmod(store.c_str(), 0444), 0);
    struct stat before {
    }, after{};
    ASSERT_EQ(::stat(store.c_str(), &before), 0);
    const auto listing = Listing(fixture.scratch.Path());
    fixture.Read(store);
    EXPECT_EQ(fixture.Read(store, {"--folder", "\\Inbox"}).at("items").size(), 1u);
    ASSERT_EQ(::stat(store.c_str(), &after), 0);
    EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
    EXPECT_EQ(before.st_ctim.tv_nsec, after.st_ctim.tv_nsec);
    EXPECT_TRUE(FileBytes(store) == built.Content());
    EXPECT_EQ(Listing(fixture.scratch.Path()), listing) << "nothing is written anywhere";
}

// ---- damage

TEST(List, DamageCostsItselfAlone)
{
    StoreDescription description;
    StoreMessage lost = Mail(u"lost", u"Ann", u"", 0);
    lost.label = "lost";
    description.folders = {
        {.name = u"A", .messages = {Mail(u"one", u"", u"", 0), lost, Mail(u"two", u"", u"", 0)}},
        {.name = u"B", .messages = {Mail(u"b", u"", u"", 0)}, .folders = {{.name = u"C"}}},
        {.name = u"D", .messages = {Mail(u"d", u"", u"", 0)}}};
    const ListFixture fixture;
    CBuiltStore built(description);
    built.Damage().Drop("lost/data").Drop("folder B/hierarchy/data").Drop("folder D/contents/data");
    const auto store = fixture.Write(built);

    const CommandResult tree = fixture.Run(store, {"--json"});
    EXPECT_EQ(tree.status, 1);
    const Json listing = Json::parse(tree.out);
    EXPECT_EQ(listing.at("status"), "failed");
    EXPECT_EQ(listing.at("messages").size(), 2u);
    EXPECT_EQ(FolderOf(listing, "\\A").at("items"), 3);
    EXPECT_EQ(FolderOf(listing, "\\B").at("items"), 1);
    EXPECT_EQ(FolderOf(listing, "\\B").at("folders"), nullptr);
    EXPECT_EQ(FolderOf(listing, "\\D").at("items"), nullptr);
    EXPECT_NE(tree.err.find("\\B"), std::string::npos) << "it says what";

    const CommandResult items = fixture.Run(store, {"--folder", "\\A", "--json"});
    EXPECT_EQ(items.status, 1);
    const Json rows = Json::parse(items.out).at("items");
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].at("subject"), "one");
    EXPECT_FALSE(rows[1].at("fault").is_null());
    EXPECT_EQ(rows[2].at("subject"), "two");
}

TEST(List, RingsOfFoldersEnd)
{
    StoreDescription description;
    description.folders = {{.name = u"A", .folders = {{.name = u"B", .folders = {{.name = u"C"}}}}}};
    const ListFixture fixture;
    CBuiltStore built(description);
    const auto bytesOf = [&](const std::string& folder) {
        Bytes bytes(4);
        format::StoreLE(std::span(bytes), 0, built.Nid(folder));
        return bytes;
    };
    const Bytes inner = bytesOf("folder C");
    for (const char* const target : {"folder A", "folder B"}) {
        const Bytes outer = bytesOf(target);
        CBuiltStore ring(description);
        // B's only row names a folder above it, or B itself.
        ring.Damage().EditBlock("folder B/hierarchy/data", [&](std::span<std::byte> block) {
            for (auto at = block.begin();
                 (at = std::search(at, block.end(), inner.begin(), inner.end())) != block.end();)
                at = std::ranges::copy(outer, at).out;
        });
        const Json listing = fixture.Read(fixture.Write(ring));
        EXPECT_EQ(FolderOf(listing, "\\A\\B").at("name"), "B");
        EXPECT_EQ(listing.at("folders").size(), 4u) << "top, Deleted Items, A and B, once each";
    }
}

TEST(List, RefusesWhatIsNoStoreAndFoldersThatAreNotThere)
{
    const ListFixture fixture;
    CBuiltStore built(InFolders({{.name = u"Inbox"}}));
    const auto store = fixture.Write(built);
    EXPECT_EQ(fixture.Run(store, {"--folder", "\\inbox"}).status, 2) << "names are exact";
    EXPECT_EQ(fixture.Run(store, {"--folder", "\\"}).status, 0) << "the top";
    built.Damage().ZeroHeader();
    const std::vector<std::filesystem::path> bad{
        fixture.Write(built, "headless.pst"), fixture.scratch.Path(), fixture.scratch.Path() / "missing.pst",
        fixture.scratch.WriteFile("empty.pst", ""),
        fixture.scratch.WriteFile("text.pst", std::string(9000, '!'))};
    for (const auto& path : bad) {
        const CommandResult result = fixture.Run(path, {"--json"});
        EXPECT_EQ(result.status, 2) << path;
        EXPECT_NE(result.err, "");
        const Json listing = Json::parse(result.out);
        EXPECT_EQ(listing.at("status"), "failed");
        EXPECT_EQ(listing.at("folders"), nullptr);
    }
}

}  // namespace
}  // namespace pastille::tests
