#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <unordered_set>

#include "recovery/FolderList.h"
#include "tests/recovery/RecoverySupport.h"

namespace pastille::tests {
namespace {

StoreFolder Folder(std::u16string name, std::u16string containerClass = u"",
                   std::vector<StoreFolder> below = {})
{
    return {
        .name = std::move(name), .containerClass = std::move(containerClass), .folders = std::move(below)};
}

TEST(FolderPhase, RebuildsTheTreeWithTypesByNameAndClass)
{
    CRecoveredStore scenario(InFolders({
        Folder(u"Inbox", u"", {Folder(u"Sub", u"IPF.Imap", {Folder(u"Leaf", u"IPF.Contact")})}),
        Folder(u"Contacts", u"IPF.Contact"),
        Folder(u"Sync Issues", u"",
               {Folder(u"Local Failures"), Folder(u"Server Failures"), Folder(u"Folder Conflicts")}),
        Folder(u"deleted items"),
    }));

    CFakeComponent& component = scenario.component;
    const auto type = [&](std::u16string_view path) {
        const FakeFolder* folder = component.Folder(path);
        return folder == nullptr ? -1 : folder->type.value_or(0);
    };
    ASSERT_NE(component.Folder(u"\\Inbox\\Sub\\Leaf"), nullptr);
    EXPECT_EQ(component.Folder(u"\\Inbox")->containerClass, u"IPF.Note");
    EXPECT_EQ(component.Folder(u"\\Inbox\\Sub")->containerClass, u"IPF.Note");
    EXPECT_EQ(component.Folder(u"\\Inbox\\Sub\\Leaf")->containerClass, u"IPF.Contact");
    EXPECT_EQ(type(u"\\Sync Issues"), 20);
    EXPECT_EQ(type(u"\\Sync Issues\\Local Failures"), 21);
    EXPECT_EQ(type(u"\\Sync Issues\\Server Failures"), 22);
    EXPECT_EQ(type(u"\\Sync Issues\\Folder Conflicts"), 19);
    EXPECT_EQ(type(u"\\deleted items"), 0) << "names decide with their case only";
    EXPECT_EQ(component.CountCalls("AddFolder:Contacts"), 1u)
        << "made by the set-up, found by the folder phase";
    EXPECT_EQ(component.Folder(u"\\Top of Personal Folders"), nullptr);

    EXPECT_EQ(scenario.CountInLog(u"\r\nLeaf"), 1u);
    EXPECT_EQ(scenario.CountInLog(u"\r\nContacts"), 0u);
    const auto announced = scenario.frontEnd.All<platform::FolderMessage>();
    const auto leaf =
        std::ranges::find(announced, u"\\Inbox\\Sub\\Leaf", &platform::FolderMessage::folderPath);
    ASSERT_NE(leaf, announced.end());
    EXPECT_EQ(leaf->containerClass, u"IPF.Contact");
    EXPECT_EQ(scenario.pipeline->Figures().folders, announced.size());
}

TEST(FolderPhase, FoldersOfOneNameBecomeOne)
{
    CRecoveredStore scenario(InFolders({{.name = u"Twin", .messages = {Mail(u"a", u"f", u"b", 0)}},
                                        {.name = u"Twin", .messages = {Mail(u"c", u"f", u"b", 0)}}}));
    EXPECT_EQ(scenario.component.CountCalls("AddFolder:Twin"), 1u);
    EXPECT_EQ(scenario.component.Folder(u"\\Twin")->Saved().size(), 2u);
}

TEST(FolderPhase, AFolderThatFailsOnceIsTriedAgain)
{
    CRecoveryScenario scenario(
        InFolders({Folder(u"Outer", u"IPF.Task", {Folder(u"Inner", u"IPF.Contact")})}));
    scenario.component.FailCalls("AddFolder:Inner", writer::E_FAIL, 0, 1);
    scenario.Run();
    EXPECT_NE(scenario.component.Folder(u"\\Outer\\Inner"), nullptr);
    EXPECT_FALSE(scenario.state.failed);
}

TEST(FolderPhase, AParentThatCannotBeMadeGetsAStandInUnderTheRoot)
{
    CRecoveryScenario scenario(
        InFolders({Folder(u"A", u"", {Folder(u"B", u"", {Folder(u"C", u"IPF.Contact")})}), Folder(u"Z")}));
    // "B" fails below "A" in both attempts; the third attempt is the stand-in for the parent of "C".
    scenario.component.FailCalls("AddFolder:B", writer::E_FAIL, 0, 2);
    scenario.Run();
    EXPECT_EQ(scenario.component.Folder(u"\\A\\B"), nullptr);
    ASSERT_NE(scenario.component.Folder(u"\\B"), nullptr);
    EXPECT_EQ(scenario.component.Folder(u"\\B")->containerClass, u"IPF.Contact");
    EXPECT_NE(scenario.component.Folder(u"\\Z"), nullptr) << "the walk goes on";
    EXPECT_FALSE(scenario.state.failed);
}

TEST(FolderPhase, AStopEndsItBeforeTheNextFolder)
{
    StoreDescription description;
    description.folders = {{.name = u"Inbox", .messages = {Mail(u"a", u"f", u"b", 0)}}};
    for (const unsigned phase : {6u, 7u}) {
        CRecoveryScenario scenario(description);
        scenario.frontEnd.onPhase = [&](unsigned begun) {
            if (begun == phase)
                scenario.state.stopRequested = true;
        };
        scenario.Run();
        EXPECT_EQ(scenario.CountInLog(u"Recovering name of folders"), phase == 6 ? 0u : 1u);
        EXPECT_EQ(scenario.component.CountCalls("AddFolder"), 5u) << "the special folders only";
        EXPECT_EQ(scenario.component.CountCalls("AddItem"), 0u);
        EXPECT_TRUE(scenario.component.committed) << "what was written so far stays";
    }
}

TEST(FolderPhase, FewNodesAreCountedManyAreShownInHundredths)
{
    CRecoveredStore small(InFolders({Folder(u"Inbox")}));
    const auto counted = small.frontEnd.Percentages(6);
    ASSERT_LT(small.figures.nodes, 100u);
    EXPECT_EQ(counted.size(), small.figures.nodes);
    EXPECT_EQ(counted.back(), small.figures.nodes);

    StoreDescription many;
    many.folders = {Folder(u"Inbox")};
    for (int i = 0; i < 1000; ++i)
        many.folders[0].messages.push_back(Mail(u"s", u"f", u"b", 0));
    CRecoveredStore large(many);
    const auto hundredths = large.frontEnd.Percentages(6);
    EXPECT_LE(hundredths.size(), 112u) << "sent when the number changes, not once per record";
    EXPECT_EQ(hundredths.back(), large.figures.nodes / ((large.figures.nodes + 1) / 100));
    const auto items = large.frontEnd.Percentages(8);
    EXPECT_TRUE(std::ranges::is_sorted(items));
    EXPECT_EQ(items.back(), 100u);
}

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
