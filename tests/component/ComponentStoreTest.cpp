#include "format/PropertyIds.h"
#include "tests/component/ComponentFixture.h"
#include "tests/component/SoundStore.h"

namespace pastille::tests {
namespace {

using namespace writer;
namespace p = writer::property;
namespace pid = format::pid;

class ComponentStore : public CComponentFixture {
protected:
    void SetUp() override { CreateStore(); }
};

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
