#include <gtest/gtest.h>

#include "tests/scenario/Repair.h"
#include "tests/support/StoreExample.h"

namespace pastille::tests {
namespace {

/// Three folders with mails; bodies and attachments lie in the mails' own blocks, in subnodes and in trees.
StoreDescription Office()
{
    StoreDescription store;
    store.format.nodesPerPage = 12;
    StoreFolder inbox{.name = u"Inbox", .containerClass = u"IPF.Note"};
    for (unsigned i = 0; i < 25; ++i) {
        const auto letter = static_cast<char16_t>(u'A' + i);
        const std::u16string body =
            u"Body " + std::u16string(1, letter) + u"\r\n" + std::u16string(i % 4 * 580, letter);
        StoreMessage mail = Mail(u"Subject " + std::u16string(1, letter), u"Ada Brook", body,
                                 FileTime(2020, 5, 1 + i, i % 24, 7));
        if (i % 5 == 4)
            mail.properties.back() =
                InSubnode(Text(format::pid::kBody, body + body + body), i % 2 == 0 ? 300 : 0);
        if (i % 5 == 2)
            mail.attachments = {
                {.fileName = u"small.bin", .data = Bytes(40 + i, std::byte{'s'})},
                {.fileName = u"tree.bin", .data = Bytes(2000, std::byte{'t'}), .leafBytes = 300}};
        inbox.messages.push_back(std::move(mail));
    }
    StoreFolder old{.name = u"Old", .containerClass = u"IPF.Note"};
    old.messages = {Mail(u"From the attic", u"Ben Carver", u"Dust.", FileTime(1999, 12, 31, 23, 59))};
    StoreFolder projects{.name = u"Projects"};
    projects.folders = {old};
    store.folders = {inbox, projects, {.name = u"Empty"}};
    return store;
}

TEST(Damage, TheExampleIsWhollyRecoverable)
{
    const StoreDescription description = DescribeExample();
    CRepair repair(BuildDamagedExample().Content(), "damaged.pst");
    repair.Run();
    EXPECT_EQ(repair.state.storeName, u"damaged Recovered");
    const SeenStore found = repair.ReadBack();
    const SeenStore expected = Expected(description);
    for (const char16_t* path : {u"\\Inbox", u"\\Projects\\Old bridge", u"\\Sent Items"})
        EXPECT_EQ(found.at(path), expected.at(path));
    EXPECT_EQ(found.at(u"\\Contacts").size(), 2u);
    EXPECT_EQ(found.at(u"\\Calendar").size(), 1u);
    EXPECT_EQ(CountItems(found), CountItems(expected));
}

TEST(Damage, AWreckedMailCostsItselfOnly)
{
    const StoreDescription description = Office();
    for (const std::uint32_t seed : {1u, 2u, 3u, 4u, 5u}) {
        CBuiltStore store(description);
        store.Damage().ScrambleOffsets("Subject K/data", seed);
        CRepair repair(store.Content());
        repair.Run();
        EXPECT_FALSE(repair.state.failed);
        SeenStore expected = Expected(description);
        auto& inbox = expected.at(u"\\Inbox");
        std::erase_if(inbox, [](const SeenItem& item) { return item.subject == u"Subject K"; });
        const std::vector<SeenItem> found = AllItems(repair.ReadBack());
        for (const SeenItem& item : AllItems(expected))
            EXPECT_TRUE(std::find(found.begin(), found.end(), item) != found.end())
                << testing::PrintToString(item);
    }
}

TEST(Damage, ALostFolderSendsItsMailsToLostAndFound)
{
    const StoreDescription description = Office();
    CBuiltStore store(description);
    store.Damage().Drop("folder Inbox/data");
    CRepair repair(store.Content());
    repair.Run();
    const SeenStore found = repair.ReadBack();
    const SeenStore expected = Expected(description);
    ASSERT_TRUE(found.contains(u"\\Lost & Found"));
    EXPECT_EQ(found.at(u"\\Lost & Found"), expected.at(u"\\Inbox"));
    EXPECT_EQ(found.at(u"\\Projects\\Old"), expected.at(u"\\Projects\\Old"));
    EXPECT_EQ(CountItems(found), CountItems(expected));
}

TEST(Damage, FoldersBelowALostFolderHangBelowTheRoot)
{
    const StoreDescription description = Office();
    CBuiltStore store(description);
    store.Damage().Drop("folder Projects/data");
    CRepair repair(store.Content());
    repair.Run();
    const SeenStore found = repair.ReadBack();
    ASSERT_TRUE(found.contains(u"\\Old"));
    EXPECT_EQ(found.at(u"\\Old"), Expected(description).at(u"\\Projects\\Old"));
}

TEST(Damage, CyclesOfFoldersEndAndKeepEveryItem)
{
    const StoreDescription description = Office();
    const std::vector<std::vector<std::pair<const char*, const char*>>> cycles = {
        {{"folder Projects", "folder Old"}},
        {{"folder Inbox", "folder Old"}, {"folder Projects", "folder Inbox"}},
        {{"folder Top of Personal Folders", "folder Inbox"}},
    };
    for (const auto& cycle : cycles) {
        CBuiltStore store(description);
        for (const auto& [child, parent] : cycle)
            store.Damage().SetParent(store.Nid(child), store.Nid(parent));
        CRepair repair(store.Content());
        repair.Run();
        EXPECT_EQ(repair.frontEnd.completions, 1);
        EXPECT_EQ(AllItems(repair.ReadBack()), AllItems(Expected(description)));
    }
}

TEST(Damage, PagesThatNameThemselvesCostTheirOwnNodes)
{
    StoreDescription description = Office();
    description.format.firstPageBid = 0x901;
    description.format.childrenPerPage = 20;
    CBuiltStore store(description);
    const std::size_t leaves = store.Directory().All(PlaceKind::NbtLeaf).size();
    for (std::size_t i = 0; i < leaves; ++i) {
        CBuiltStore damaged(description);
        damaged.Damage().PointPageAtItself(i);
        CRepair repair(damaged.Content());
        repair.Run();
        EXPECT_EQ(repair.frontEnd.completions + static_cast<int>(repair.state.failed), 1) << i;
        // At most the 15 nodes of the page can be gone.
        EXPECT_GE(CountItems(repair.ReadBack()) + 15, CountItems(Expected(description))) << i;
    }
}

TEST(Damage, TruncatedAnywhereTheRunEnds)
{
    const StoreDescription description = Office();
    const CBuiltStore whole(description);
    for (std::size_t size = 600; size < whole.Content().size(); size += whole.Content().size() / 23) {
        CBuiltStore store(description);
        store.Damage().Truncate(size);
        CRepair repair(store.Content());
        repair.Run();
        EXPECT_EQ(repair.frontEnd.ends + static_cast<int>(repair.state.failed) > 0, true) << size;
        if (!repair.state.failed) {
            EXPECT_LE(CountItems(repair.ReadBack()), CountItems(Expected(description))) << size;
        }
    }
}

TEST(Damage, StalePagesWithTheSameNodesDoNotLoseTheLiveOnes)
{
    StoreDescription description = Office();
    description.beforeTrees = [](CStoreFile& store) {
        // Superseded copies of all leaf pages, in which every block reference is out of date.
        std::vector<NbtEntry> stale;
        for (NbtEntry entry : store.Nodes()) {
            entry.bidData = 0xFFFF0;
            entry.bidSub = entry.bidSub == 0 ? 0 : 0xFFFF2;
            stale.push_back(entry);
            if (stale.size() == 15) {
                store.WriteNbtPage(stale);
                stale.clear();
            }
        }
    };
    CRepair repair(CBuiltStore(description).Content());
    repair.Run();
    EXPECT_FALSE(repair.state.failed);
    const std::vector<SeenItem> found = AllItems(repair.ReadBack());
    for (const SeenItem& item : AllItems(Expected(description)))
        EXPECT_TRUE(std::find(found.begin(), found.end(), item) != found.end())
            << testing::PrintToString(item);
}

}  // namespace
}  // namespace pastille::tests
