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

TEST(Damage, TheExampleIsTheFileInExamplesAndWhollyRecoverable)
{
    EXPECT_TRUE(FileBytes(std::filesystem::path(PASTILLE_EXAMPLES) / "damaged.pst") ==
                BuildDamagedExample().Content())
        << "make it with: store_maker --example examples/damaged.pst";
    const StoreDescription description = DescribeExample();
    CRepair repair(BuildDamagedExample().Content(), "damaged.pst");
    repair.Run();
    EXPECT_EQ(repair.state.storeName, u"damaged Recovered");
    const SeenStore found = repair.ReadBack();
    const SeenStore expected = Expected(description);
    for (const char* path : {"/Inbox", "/Projects/Old bridge", "/Sent Items"})
        EXPECT_EQ(found.at(path), expected.at(path));
    EXPECT_EQ(found.at("/Contacts").size(), 2u);
    EXPECT_EQ(found.at("/Calendar").size(), 1u);
    EXPECT_EQ(CountItems(found), CountItems(expected));
}

TEST(Damage, ALostFolderSendsItsMailsToLostAndFoundAndItsFoldersBelowTheRoot)
{
    const StoreDescription description = Office();
    CBuiltStore store(description);
    store.Damage().Drop("folder Inbox/data").Drop("folder Projects/data");
    CRepair repair(store.Content());
    repair.Run();
    const SeenStore found = repair.ReadBack();
    const SeenStore expected = Expected(description);
    ASSERT_TRUE(found.contains("/Lost & Found"));
    EXPECT_EQ(found.at("/Lost & Found"), expected.at("/Inbox"));
    ASSERT_TRUE(found.contains("/Old"));
    EXPECT_EQ(found.at("/Old"), expected.at("/Projects/Old"));
    EXPECT_EQ(CountItems(found), CountItems(expected));
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
    const auto found = AllItems(repair.ReadBack());
    for (const std::string& item : AllItems(Expected(description)))
        EXPECT_TRUE(found.contains(item)) << item;
}

TEST(Damage, AnUnreadableFileEndsInARefusal)
{
    const CBuiltStore store(Office());
    for (const std::uint64_t from : {std::uint64_t{0}, std::uint64_t{512}, std::uint64_t{18432}}) {
        CRepair repair(store.Content());
        repair.files.faults.unreadable = {{from, store.Content().size()}};
        repair.Run();
        EXPECT_EQ(repair.frontEnd.completions, 0) << from;
        EXPECT_TRUE(repair.state.failed) << from;
    }
}

TEST(Damage, AShrinkingSourceEnds)
{
    const CBuiltStore store(Office());
    for (std::uint64_t size = 20'000; size < store.Content().size(); size += 60'000) {
        CRepair repair(store.Content());
        repair.files.faults.shrinksTo = size;
        repair.Run();
        EXPECT_EQ(repair.frontEnd.completions + static_cast<int>(repair.state.failed), 1) << size;
    }
}

}  // namespace
}  // namespace pastille::tests
