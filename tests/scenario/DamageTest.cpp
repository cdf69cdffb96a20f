#include <gtest/gtest.h>

#include "tests/scenario/Repair.h"
#include "tests/support/StoreExample.h"

namespace pastille::tests {
namespace {

/// The mails of the example, whose items come back as they were.
StoreDescription Office()
{
    StoreDescription store = DescribeExample();
    store.folders.resize(3);
    store.format.nodesPerPage = 12;
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
    ASSERT_TRUE(found.contains("/Old bridge"));
    EXPECT_EQ(found.at("/Old bridge"), expected.at("/Projects/Old bridge"));
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
