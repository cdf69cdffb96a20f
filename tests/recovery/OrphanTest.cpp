#include <gtest/gtest.h>

#include <algorithm>

#include "tests/recovery/RecoverySupport.h"

namespace pastille::tests {
namespace {

using Lines = std::vector<std::string>;

constexpr std::u16string_view kLogLine = u"\r\nRecovering Orphaned Mails \r\n";

struct LostItem {
    const char* label;
    const char16_t* messageClass;
};

/// A Smart Scan of a store whose items have lost their nodes: only their blocks are there, in the order
/// given.
class COrphanScenario : public CRecoveryScenario {
public:
    explicit COrphanScenario(const std::vector<LostItem>& items, const StoreFolder& more = {})
        : CRecoveryScenario(Describe(items, more))
    {
        settings.smartScan = true;
    }

    std::size_t Announced(std::uint32_t folderId) const
    {
        return static_cast<std::size_t>(std::ranges::count(frontEnd.All<platform::FolderMessage>(), folderId,
                                                           &platform::FolderMessage::folderId));
    }

private:
    static StoreDescription Describe(const std::vector<LostItem>& items, const StoreFolder& more)
    {
        StoreDescription description;
        description.folders = {{.name = u"Inbox"}};
        if (!more.name.empty())
            description.folders.push_back(more);
        for (const LostItem& item : items) {
            StoreMessage message = Mail(u"subject", u"sender", u"body", 0);
            message.label = item.label;
            message.messageClass = item.messageClass;
            message.deletion = Deletion::OfNode;
            description.folders.front().messages.push_back(message);
        }
        return description;
    }
};

TEST(Orphans, EachGoesToTheirFolderWhateverItIs)
{
    COrphanScenario scenario({{"contact", u"IPM.Contact"},
                              {"mail", u"IPM.Note"},
                              {"unknown", u"XYZ"},
                              {"short", u"IP"},
                              {"none", u"IPM.Note.Custom"},
                              {"task", u"IPM.Task"}});
    scenario.Run();

    EXPECT_EQ(scenario.component.SavedItems(),
              (Lines{"\\Orphaned Mails: IPM.Contact", "\\Orphaned Mails: IPM.Note", "\\Orphaned Mails: XYZ",
                     "\\Orphaned Mails: IPM.Note", "\\Orphaned Mails: IPM.Task"}));
    for (const FakeItem* item : scenario.component.Folder(u"\\Orphaned Mails")->Saved())
        EXPECT_EQ(item->Text("Subject"), u"subject");
    EXPECT_EQ(scenario.component.CountCalls("AddFolder:Orphaned Mails"), 1u);
    EXPECT_EQ(scenario.Announced(platform::FolderMessage::kOrphanedMails), 1u);
    // Of the items the three mails have rows.
    EXPECT_EQ(scenario.frontEnd.All<platform::OrphanRowMessage>().size(), 3u);
    const std::u16string log = scenario.Log();
    EXPECT_EQ(scenario.CountInLog(kLogLine), 1u);
    EXPECT_LT(log.find(kLogLine), log.find(u"Contact Subject: "));
    const auto percentages = scenario.frontEnd.Percentages(8);
    EXPECT_TRUE(std::ranges::is_sorted(percentages));
    EXPECT_EQ(percentages.back(), 100u);
}

TEST(Orphans, TheFolderComesWithTheScanNotWithTheOrphans)
{
    for (const bool smart : {true, false}) {
        COrphanScenario scenario({});
        scenario.settings.smartScan = smart;
        scenario.Run();
        EXPECT_EQ(scenario.component.Folder(u"\\Orphaned Mails") != nullptr, smart);
        EXPECT_EQ(scenario.CountInLog(kLogLine), smart ? 1u : 0u);
        EXPECT_EQ(scenario.Announced(platform::FolderMessage::kOrphanedMails), smart ? 1u : 0u);
    }
}

TEST(Orphans, AFolderOfThatNameInTheSourceIsTheSameFolder)
{
    COrphanScenario scenario({{"mail", u"IPM.Note"}}, {.name = u"Orphaned Mails",
                                                       .messages = {Mail(u"filed", u"sender", u"body", 0)}});
    scenario.Run();
    EXPECT_EQ(scenario.component.SavedItems(),
              (Lines{"\\Orphaned Mails: IPM.Note", "\\Orphaned Mails: IPM.Note"}));
    EXPECT_EQ(scenario.CountInLog(kLogLine), 0u);
}

TEST(Orphans, AStopEndsThemBeforeTheNextOne)
{
    COrphanScenario scenario({{"first", u"IPM.Contact"}, {"second", u"IPM.Contact"}});
    scenario.frontEnd.onMessage = [&](const platform::Message&) {
        const FakeFolder* made = scenario.component.Folder(u"\\Orphaned Mails");
        scenario.state.stopRequested = made != nullptr && made->Saved().size() == 1;
    };
    scenario.Run();
    EXPECT_EQ(scenario.component.SavedItems(), Lines{"\\Orphaned Mails: IPM.Contact"});
    EXPECT_TRUE(scenario.component.committed) << "what was written stays";
    EXPECT_NE(scenario.frontEnd.Percentages(8).back(), 100u);
    const auto announced = scenario.frontEnd.All<platform::FolderMessage>();
    EXPECT_EQ(announced.size(), 1u) << "that of the folder made, none of the end of the phase";
}

TEST(Orphans, WithoutTheirFolderTheyAreNotPutElsewhere)
{
    COrphanScenario scenario({{"first", u"IPM.Note"}, {"second", u"IPM.Note"}});
    scenario.component.FailCalls("AddFolder:Orphaned Mails", writer::E_FAIL, 0, 2);
    scenario.Run();
    EXPECT_EQ(scenario.component.SavedItems(), Lines{"\\Orphaned Mails: IPM.Note"});
}

}  // namespace
}  // namespace pastille::tests
