#include <gtest/gtest.h>

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
    StoreDescription description;
    description.folders = {
        Folder(u"Inbox", u"", {Folder(u"Sub", u"IPF.Imap", {Folder(u"Leaf", u"IPF.Contact")})}),
        Folder(u"Contacts", u"IPF.Contact"),
        Folder(u"Sync Issues", u"",
               {Folder(u"Local Failures"), Folder(u"Server Failures"), Folder(u"Folder Conflicts")}),
        Folder(u"deleted items"),
    };
    CRecoveryScenario scenario(description);
    scenario.Run();

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
    StoreDescription description;
    description.folders = {{.name = u"Twin", .messages = {Mail(u"a", u"f", u"b", 0)}},
                           {.name = u"Twin", .messages = {Mail(u"c", u"f", u"b", 0)}}};
    CRecoveryScenario scenario(description);
    scenario.Run();
    EXPECT_EQ(scenario.component.CountCalls("AddFolder:Twin"), 1u);
    EXPECT_EQ(scenario.component.Folder(u"\\Twin")->Saved().size(), 2u);
}

TEST(FolderPhase, AFolderThatFailsOnceIsTriedAgain)
{
    StoreDescription description;
    description.folders = {Folder(u"Outer", u"IPF.Task", {Folder(u"Inner", u"IPF.Contact")})};
    CRecoveryScenario scenario(description);
    scenario.component.FailCalls("AddFolder:Inner", writer::E_FAIL, 0, 1);
    scenario.Run();
    EXPECT_NE(scenario.component.Folder(u"\\Outer\\Inner"), nullptr);
    EXPECT_FALSE(scenario.state.failed);
}

TEST(FolderPhase, AParentThatCannotBeMadeGetsAStandInUnderTheRoot)
{
    StoreDescription description;
    description.folders = {Folder(u"A", u"", {Folder(u"B", u"", {Folder(u"C", u"IPF.Contact")})}),
                           Folder(u"Z")};
    CRecoveryScenario scenario(description);
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
    StoreDescription few;
    few.folders = {Folder(u"Inbox")};
    CRecoveryScenario small(few);
    small.Run();
    const auto counted = small.frontEnd.Percentages(6);
    ASSERT_LT(small.figures.nodes, 100u);
    EXPECT_EQ(counted.size(), small.figures.nodes);
    EXPECT_EQ(counted.back(), small.figures.nodes);

    StoreDescription many;
    many.folders = {Folder(u"Inbox")};
    for (int i = 0; i < 1000; ++i)
        many.folders[0].messages.push_back(Mail(u"s", u"f", u"b", 0));
    CRecoveryScenario large(many);
    large.Run();
    const auto hundredths = large.frontEnd.Percentages(6);
    EXPECT_LE(hundredths.size(), 112u) << "sent when the number changes, not once per record";
    EXPECT_EQ(hundredths.back(), large.figures.nodes / ((large.figures.nodes + 1) / 100));
    const auto items = large.frontEnd.Percentages(8);
    EXPECT_TRUE(std::ranges::is_sorted(items));
    EXPECT_EQ(items.back(), 100u);
}

}  // namespace
}  // namespace pastille::tests
