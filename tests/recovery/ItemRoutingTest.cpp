#include <gtest/gtest.h>

#include "tests/recovery/RecoverySupport.h"

namespace pastille::tests {
namespace {

constexpr std::uint32_t kNoSuchFolder = 0x9FC2;

using Lines = std::vector<std::string>;

TEST(ItemRouting, EveryKindOfClassFindsItsPlace)
{
    struct Case {
        const char16_t* messageClass;
        bool created;
    };
    const Case cases[] = {
        {u"IPM.Note", true},
        {u"ipm.note", true},
        {u"NOTE", true},
        {u"Report.IPM.Note.NDR", true},
        {u"IPM.NOTE.Omtool.DR", true},
        {u"IPM.MessageManager", true},
        {u"XYZ", true},
        {u"note", true},
        {u"IPM.Contact", true},
        {u"IPF.DistList", true},
        {u"IPM.Appointment", true},
        {u"IPM.Schedule.Meeting.Resp.Tent", true},
        {u"IPM.TaskRequest.Decline", true},
        {u"IPM.Activity", true},
        {u"IPM.StickyNote", true},
        {u"IPM.Note.Custom", false},
        {u"ipm.contact", true},  // in no table and, in small letters, not like an item class
        {u"IPM.Configuration.WorkHours", false},
        {u"IPM.Configuration.RssRule", false},
        {u"IPM.Rule.Message", false},
        {u"xPx", false},
        {u"xxF", false},
    };
    for (const Case& row : cases) {
        const CRecoveredStore scenario(
            InFolders({{.name = u"Mixed", .messages = {ItemOf(row.messageClass)}}}));
        const auto expected = row.created ? Lines{"\\Mixed: " + platform::ToUtf8(row.messageClass)} : Lines();
        EXPECT_EQ(scenario.component.SavedItems(), expected) << platform::ToUtf8(row.messageClass);
    }
}

TEST(ItemRouting, WhatHasNoFolderGoesToLostAndFound)
{
    CRecoveredStore scenario(InFolders(
        {{.name = u"Inbox",
          .messages = {ItemOf(u"IPM.Note", kNoSuchFolder), ItemOf(u"IPM.Contact", kNoSuchFolder),
                       ItemOf(u"IPM.Note.Custom", kNoSuchFolder), ItemOf(u"IP"), ItemOf(u"IPM.Note")}}}));

    Lines saved = scenario.component.SavedItems();
    std::ranges::sort(saved);
    EXPECT_EQ(saved, (Lines{"\\Inbox: IPM.Note", "\\Lost & Found: IP", "\\Lost & Found: IPM.Contact",
                            "\\Lost & Found: IPM.Note", "\\Lost & Found: IPM.Note.Custom"}));
    EXPECT_EQ(scenario.component.CountCalls("AddFolder:Lost & Found"), 1u);
    const auto announced = scenario.frontEnd.All<platform::FolderMessage>();
    EXPECT_EQ(std::ranges::count(announced, platform::FolderMessage::kLostAndFound,
                                 &platform::FolderMessage::folderId),
              1);
    EXPECT_EQ(scenario.component.Folder(u"\\Lost & Found")->Saved().size(), 4u);
    EXPECT_EQ(scenario.frontEnd.All<platform::OrphanRowMessage>().size(), 3u) << "of the mails";
    for (const FakeItem* item : scenario.component.Folder(u"\\Lost & Found")->Saved()) {
        if (item->messageClass != u"IPM.Contact") {
            EXPECT_EQ(item->Text("Subject"), u"subject") << "properties and body follow the item";
            EXPECT_EQ(item->Text("Body"), u"body");
        }
    }
}

TEST(ItemRouting, ASourceFolderLostAndFoundIsTheSameFolder)
{
    CRecoveredStore scenario(InFolders(
        {{.name = u"Lost & Found", .messages = {ItemOf(u"IPM.Note"), ItemOf(u"IPM.Note", kNoSuchFolder)}}}));
    EXPECT_EQ(scenario.component.SavedItems(),
              (Lines{"\\Lost & Found: IPM.Note", "\\Lost & Found: IPM.Note"}));
}

TEST(ItemRouting, TheTopFolderIsTheRootOfTheNewStore)
{
    StoreDescription description;
    description.messages = {ItemOf(u"IPM.Note"), ItemOf(u"IPM.Contact")};
    CRecoveredStore scenario(description);
    // A contact has no folder of its own there to look for, so it goes to the default one.
    EXPECT_EQ(scenario.component.SavedItems(), (Lines{": IPM.Note", "\\Contacts: IPM.Contact"}));
    const auto announced = scenario.frontEnd.All<platform::FolderMessage>();
    EXPECT_EQ(std::ranges::count(announced, u"", &platform::FolderMessage::folderPath), 1);
    EXPECT_EQ(std::ranges::count(announced, u"\\Contacts", &platform::FolderMessage::folderPath), 1);
}

TEST(ItemRouting, AMissingFolderIsMadeUnderTheDefaultFolderOfItsKind)
{
    CRecoveryScenario scenario(InFolders({{.name = u"My tasks", .messages = {ItemOf(u"IPM.Task")}},
                                          {.name = u"My rules", .messages = {ItemOf(u"IPM.MessageManager")}},
                                          {.name = u"My mails", .messages = {ItemOf(u"IPM.Note")}}}));
    for (const char* name : {"AddFolder:My tasks", "AddFolder:My rules", "AddFolder:My mails"})
        scenario.component.FailCalls(name, writer::E_FAIL, 0, 2);  // both attempts of the folder phase
    scenario.Run();
    EXPECT_EQ(
        scenario.component.SavedItems(),
        (Lines{"\\Tasks\\My tasks: IPM.Task", "\\My rules: IPM.MessageManager", "\\Lost & Found: IPM.Note"}));
    EXPECT_EQ(scenario.pipeline->Figures().folders, 1u) << "the source's own Deleted Items";
}

TEST(ItemRouting, AnItemWhoseParentFolderDoesNotResolveIsNotPutElsewhere)
{
    CRecoveryScenario scenario(
        InFolders({{.name = u"A", .folders = {{.name = u"B", .messages = {ItemOf(u"IPM.Contact")}}}}}));
    scenario.component.FailCalls("AddFolder:A", writer::E_FAIL);
    scenario.component.FailCalls("AddFolder:B", writer::E_FAIL);
    scenario.Run();
    EXPECT_EQ(scenario.component.SavedItems(), (Lines{"\\Lost & Found: IPM.Contact"}));
}

TEST(ItemRouting, AnItemThatTheComponentDoesNotGiveIsPassedOver)
{
    CRecoveryScenario scenario(InFolders(
        {{.name = u"Inbox",
          .messages = {ItemOf(u"IPM.Contact"), ItemOf(u"IPM.Note"), ItemOf(u"XYZ"), ItemOf(u"AAA")}}}));
    scenario.component.classesWithoutItem = {u"IPM.Contact", u"IPM.Note", u"XYZ"};
    scenario.Run();
    EXPECT_EQ(scenario.component.SavedItems(), (Lines{"\\Inbox: AAA"}));
    EXPECT_FALSE(scenario.state.failed);
}

}  // namespace
}  // namespace pastille::tests
