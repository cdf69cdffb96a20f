#include "recovery/FolderList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <unordered_set>

namespace pastille::tests {
namespace {

using recovery::CFolderList;

constexpr std::uint32_t kTop = 0x8022;
constexpr std::uint32_t kNodeRoot = 0x122;

/// A list with the source's top folder in it.
CFolderList ListWithTop()
{
    CFolderList list;
    list.Add({kTop, kNodeRoot, u"Top of Personal Folders", u""});
    list.SetRoot(kTop);
    return list;
}

void ExpectParentsFirst(const CFolderList& list)
{
    std::unordered_set<std::u16string> seen{u""};
    for (const auto& record : list.Records()) {
        const std::u16string path = *list.Path(record.nodeId);
        EXPECT_TRUE(seen.contains(path.substr(0, path.rfind(u'\\')))) << "a child stands before its parent";
        seen.insert(path);
    }
}

TEST(FolderList, PathsLeadFromTheRootDown)
{
    CFolderList list = ListWithTop();
    list.Add({40, 80, u"Inner", u"IPF.Note"});
    list.Add({80, kTop, u"Outer", u""});
    list.Add({60, kNodeRoot, u"Beside the top", u""});
    list.Add({70, 60, u"Below a folder that is gone", u"IPF.imap"});
    list.Add({90, 12345, u"Lost parent", u"IPF.Contact"});
    list.Add({80, 90, u"Second of one id", u""});
    list.Arrange();

    EXPECT_EQ(list.Path(kTop), u"");
    EXPECT_EQ(list.Path(40), u"\\Outer\\Inner");
    EXPECT_EQ(list.Path(40), u"\\Outer\\Inner") << "the same when asked again";
    EXPECT_EQ(list.Path(70), u"\\Below a folder that is gone");
    EXPECT_EQ(list.Path(90), u"\\Lost parent");
    EXPECT_EQ(list.Path(60), std::nullopt) << "stands beside the top: not a folder of the new store";
    EXPECT_EQ(list.Path(12345), std::nullopt);
    EXPECT_EQ(list.Find(80)->containerClass, u"IPF.Note");
    EXPECT_EQ(list.Find(70)->containerClass, u"IPF.Note");
    EXPECT_EQ(list.Find(90)->containerClass, u"IPF.Contact");
    EXPECT_EQ(list.Records().size(), 4u);
    ExpectParentsFirst(list);
}

TEST(FolderList, WithoutARootNoFolderStandsForIt)
{
    CFolderList list;
    list.Add({40, 0x400, u"A", u""});
    list.Arrange();
    EXPECT_EQ(list.Path(0), std::nullopt);
    EXPECT_EQ(list.Path(40), u"\\A");
}

TEST(FolderList, CyclesAreCutAtTheLowestNodeId)
{
    CFolderList list = ListWithTop();
    list.Add({30, 20, u"C", u""});
    list.Add({20, 40, u"B", u""});
    list.Add({40, 30, u"D", u""});
    list.Add({10, 30, u"beside", u""});  // hangs on the cycle without being in it
    list.Add({50, 50, u"own parent", u""});
    list.Arrange();
    EXPECT_EQ(list.Path(20), u"\\B");
    EXPECT_EQ(list.Path(30), u"\\B\\C");
    EXPECT_EQ(list.Path(40), u"\\B\\C\\D");
    EXPECT_EQ(list.Path(10), u"\\B\\C\\beside");
    EXPECT_EQ(list.Path(50), u"\\own parent");
    EXPECT_EQ(list.Records().size(), 5u);
    ExpectParentsFirst(list);
}

TEST(FolderList, ARootInsideTheTreeCutsWhatIsAboveIt)
{
    CFolderList list;
    list.Add({20, 40, u"B", u""});
    list.Add({40, 20, u"Top of Personal Folders", u""});
    list.Add({60, 40, u"E", u""});
    list.SetRoot(40);
    list.Arrange();
    EXPECT_EQ(list.Path(40), u"");
    EXPECT_EQ(list.Path(20), u"\\B");
    EXPECT_EQ(list.Path(60), u"\\E");
}

TEST(FolderList, AChainWithoutEndStaysSmallAndFast)
{
    // 20,000 folders, each inside the one before it: whole paths would take 800 MB.
    constexpr std::uint32_t kFolders = 20'000;
    CFolderList list = ListWithTop();
    for (std::uint32_t i = 0; i < kFolders; ++i)
        list.Add({0x10000 + i, i == 0 ? kTop : 0x10000 + i - 1, u"f", u""});
    list.Arrange();
    ASSERT_EQ(list.Records().size(), kFolders);
    std::size_t longest = 0;
    std::size_t underRoot = 0;
    for (const auto& record : list.Records()) {
        const std::size_t length = list.Path(record.nodeId)->size();
        longest = std::max(longest, length);
        underRoot += length == 2;
    }
    EXPECT_EQ(longest, 2 * CFolderList::kDeepest);
    EXPECT_EQ(underRoot, (kFolders + CFolderList::kDeepest - 1) / CFolderList::kDeepest);
    ExpectParentsFirst(list);
}

TEST(FolderList, LongNamesEndAPathEarlier)
{
    CFolderList list = ListWithTop();
    const std::u16string name(10'000, u'n');
    for (std::uint32_t i = 0; i < 8; ++i)
        list.Add({1000 + i, i == 0 ? kTop : 1000 + i - 1, name, u""});
    list.Arrange();
    for (const auto& record : list.Records())
        EXPECT_LE(list.Path(record.nodeId)->size(), CFolderList::kLongestPath);
    EXPECT_EQ(list.Path(1002)->size(), 3 * 10'001u);
    EXPECT_EQ(list.Path(1003)->size(), 10'001u);
}

}  // namespace
}  // namespace pastille::tests
