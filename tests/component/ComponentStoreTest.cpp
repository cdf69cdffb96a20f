#include "format/PropertyIds.h"
#include "tests/component/ComponentFixture.h"
#include "tests/component/StoreOnDisk.h"

namespace pastille::tests {
namespace {

using namespace writer;
using namespace component::pst;
namespace p = writer::property;
namespace pid = format::pid;

class ComponentStore : public CComponentFixture {
protected:
    void SetUp() override { CreateStore(); }
};

TEST_F(ComponentStore, EmptyOneHasAllThatOtherProgramsAskFor)
{
    store->Commit();
    ExpectSoundStore(StorePath());
    StoreOnDisk disk(StorePath());
    for (const std::uint32_t nid :
         {0x21u,  0x61u,  0x122u,  0x12Du,  0x12Eu,  0x12Fu,  0x1E1u,  0x201u,  0x261u,
          0x60Du, 0x60Eu, 0x60Fu,  0x610u,  0x62Bu,  0x64Cu,  0x671u,  0x692u,  0x6B6u,
          0x6D7u, 0x6F8u, 0x2223u, 0x2226u, 0x2227u, 0x2230u, 0x8022u, 0x8042u, 0x8062u})
        EXPECT_TRUE(disk.reader.FindNode({nid})) << std::hex << nid;
    // The one row of the receive-folder table as all real stores have it. [MS-PST] 2.4.5
    auto receive = disk.Table({0x62B});
    ASSERT_EQ(receive.RowCount(), 1u);
    EXPECT_EQ(receive.RowIdAt(0), 1u);
    EXPECT_EQ(AsInteger32(*receive.Cell(0, 0x6605)), 0x122u);
    ASSERT_TRUE(receive.Cell(0, pid::kMessageClass));
    EXPECT_TRUE(receive.Cell(0, pid::kMessageClass)->bytes.empty());
    // EntryIDs: four zero bytes, the store's record key, the NID.
    auto properties = disk.Properties({0x21});
    const auto key = properties.Read(pid::kRecordKey)->bytes;
    ASSERT_EQ(key.size(), 16u);
    for (const auto& [id, nid] : {std::pair{pid::kIpmSubtreeEntryId, 0x8022u},
                                  {pid::kIpmWastebasketEntryId, 0x8062u},
                                  {pid::kFinderEntryId, 0x8042u}}) {
        const auto entryId = properties.Read(id)->bytes;
        ASSERT_EQ(entryId.size(), 24u);
        EXPECT_TRUE(std::equal(key.begin(), key.end(), entryId.begin() + 4));
        EXPECT_EQ(format::LoadLE<std::uint32_t>(entryId, 20), nid);
    }
    EXPECT_EQ(disk.Number({0x21}, pid::kPstPassword), 0u);
}

TEST_F(ComponentStore, StaysSoundThroughChangesAndCommits)
{
    const auto inbox = AddFolder(root, u"Inbox");
    const auto nested = AddFolder(AddFolder(inbox, u"one"), u"two");
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 40; ++i) {
            const auto item = AddItem(i % 2 ? inbox : nested, u"IPM.Note",
                                      u"mail " + std::u16string(1, static_cast<char16_t>(u'a' + i % 26)));
            item->SetFlag(p::UnRead, static_cast<std::int16_t>(i % 3));
            item->SetText(p::DisplayTo, std::u16string(static_cast<std::size_t>(i * 130), u't'));
            item->SetText(p::NamedText8012, u"Red;Blue");
            item->Save();
            if (i % 5 == 0) {
                item->SetFlag(p::UnRead, static_cast<std::int16_t>(i % 2));
                item->SetText(p::Subject, u"saved again");
                item->Save();
            }
            AddItem(inbox, u"IPM.Note", u"never saved");
        }
        // An item read back from the store can be changed too.
        const auto first = inbox->GetItems()->GetFirst();
        first->SetText(p::Subject, u"round " + std::u16string(1, static_cast<char16_t>(u'0' + round)));
        first->SetFlag(p::UnRead, static_cast<std::int16_t>(round % 2));
        first->Save();
        store->Commit();
        ExpectSoundStore(StorePath());
    }
    Reopen();
    EXPECT_EQ(FindFolder(root, u"Inbox")->GetItems()->GetCount(), 60);
    EXPECT_EQ(FindFolder(root, u"Inbox")->GetItems()->GetFirst()->GetText(p::Subject), u"round 2");
}

TEST_F(ComponentStore, ManyItemsInOneFolderKeepTheirOrder)
{
    const auto many = AddFolder(root, u"many");
    for (int i = 0; i < 2000; ++i)
        AddItem(many, u"IPM.Note", u"n" + std::u16string(1, static_cast<char16_t>(0x4E00 + i)))->Save();
    Reopen();
    ExpectSoundStore(StorePath());
    const auto items = FindFolder(root, u"many")->GetItems();
    ASSERT_EQ(items->GetCount(), 2000);
    int i = 0;
    for (auto item = items->GetFirst(); item; item = items->GetNext())
        ASSERT_EQ(item->GetText(p::Subject).back(), 0x4E00 + i++);
    EXPECT_EQ(i, 2000);
}

TEST_F(ComponentStore, GoesOnDiskWithItsLastReference)
{
    AddItem(root, u"IPM.Note", u"kept")->Save();
    auto item = root->GetItems()->GetFirst();
    root.Release(), store.Release(), session.Release();
    EXPECT_EQ(item->GetText(p::Subject), u"kept") << "an item keeps its store open";
    const auto count = [this] {
        return NewSession()->GetStores()->GetDefaultStore()->GetRootFolder()->GetItems()->GetCount();
    };
    const auto before = std::filesystem::file_size(StorePath());
    EXPECT_EQ(count(), 0) << "nothing since the store was made has come to the disk";
    EXPECT_EQ(std::filesystem::file_size(StorePath()), before)
        << "and nobody completes what is being written";
    item.Release();
    EXPECT_EQ(count(), 1);
}

}  // namespace
}  // namespace pastille::tests
