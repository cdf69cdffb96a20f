#include <fstream>
#include <vector>

#include "tests/component/ComponentFixture.h"

namespace pastille::tests {
namespace {

using namespace writer;

class ComponentProfiles : public CComponentFixture {};

TEST_F(ComponentProfiles, AnyNameIsAProfileOfItsOwn)
{
    const std::vector<std::u16string> names{u"Pastille",
                                            u"pastille",
                                            u"Pastille0",
                                            u"",
                                            u".",
                                            u"..",
                                            u"../x",
                                            u"a/b\\c",
                                            u"\xD800",
                                            u"\xD801",
                                            u"n\nl",
                                            std::u16string(3000, u'\u00E4'),
                                            std::u16string(3000, u'\u00E4') + u"b"};
    const auto profiles = factory.CreateProfiles();
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_FALSE(profiles->FindProfile(names[i])) << i;
        EXPECT_TRUE(profiles->AddProfile(names[i], 0, Empty{}));
        EXPECT_TRUE(profiles->FindProfile(names[i])) << i;
    }
    component::CBuiltInComponent other(files, folder / "data" / "profiles");
    for (const auto& name : names)
        EXPECT_NO_THROW(other.CreateSession()->Logon(name));
    EXPECT_EQ(ErrorOf([&] { profiles->AddProfile(u"Pastille", 0, Empty{}); }).second,
              IStoreProfiles::kInterfaceId);
}

TEST_F(ComponentProfiles, LogonNeedsAProfileAndStoresNeedALogon)
{
    const auto fresh = factory.CreateSession();
    EXPECT_EQ(ErrorOf([&] { fresh->Logon(std::u16string(u"none")); }),
              std::pair(E_NOT_FOUND, IStoreSession::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { fresh->Logon(Missing{}); }),
              std::pair(E_INVALIDARG, IStoreSession::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { fresh->GetStores()->GetDefaultStore(); }),
              std::pair(E_FAIL, IStoreList::kInterfaceId));
}

TEST_F(ComponentProfiles, DefaultStoreIsTheOneAddedLastAndMissingFilesDoNoHarm)
{
    CreateStore();
    const auto second =
        session->GetStores()->AddPstStore(folder / "second.pst", Missing{}, std::u16string(u"two"));
    AddFolder(second->GetRootFolder(), u"only in two");
    EXPECT_TRUE(FindFolder(session->GetStores()->GetDefaultStore()->GetRootFolder(), u"only in two"));
    AddFolder(root, u"only in one");
    second->Commit();
    store->Commit();

    auto later = NewSession();
    EXPECT_TRUE(later->GetFolderFromPath(u"\\\\two\\only in two"));
    EXPECT_TRUE(later->GetFolderFromPath(u"\\\\old Recovered\\only in one"));
    std::filesystem::remove(folder / "second.pst");
    later = NewSession();
    EXPECT_EQ(ErrorOf([&] { later->GetStores()->GetDefaultStore(); }),
              std::pair(E_NOT_FOUND, IStoreList::kInterfaceId));
    EXPECT_TRUE(later->GetFolderFromPath(u"\\\\old Recovered\\only in one"));
}

TEST_F(ComponentProfiles, StoreIsMadeOnlyWhereNoFileIs)
{
    CreateStore();
    const auto taken = folder / "taken.pst";
    std::ofstream(taken, std::ios::binary) << "mail of somebody";
    const auto stores = session->GetStores();
    EXPECT_NE(ErrorOf([&] { stores->AddPstStore(taken, Missing{}, std::u16string(u"x")); }).first, 0);
    EXPECT_EQ(std::filesystem::file_size(taken), 16u);
    EXPECT_EQ(
        ErrorOf([&] { stores->AddPstStore(folder / "new.pst", std::int32_t{1}, std::u16string(u"x")); }),
        std::pair(E_INVALIDARG, IStoreList::kInterfaceId));
    EXPECT_EQ(
        ErrorOf([&] { stores->AddPstStore(folder / "none" / "x.pst", Missing{}, std::u16string(u"x")); }),
        std::pair(E_WRITEFAULT, IStoreList::kInterfaceId));
    EXPECT_TRUE(session->GetFolderFromPath(u"\\\\old Recovered"))
        << "the store added before is still the default";
}

TEST_F(ComponentProfiles, DamagedStoreIsRefusedAndDamagedProfileIsNone)
{
    CreateStore();
    AddFolder(root, u"inside");
    Reopen();
    session.Release(), store.Release(), root.Release();
    {
        std::fstream file(StorePath(), std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(0x100);
        file.put('\0');
    }
    session = NewSession();
    EXPECT_EQ(ErrorOf([&] { session->GetStores()->GetDefaultStore(); }),
              std::pair(E_FAIL, IStoreList::kInterfaceId));
    for (const auto& entry : std::filesystem::directory_iterator(folder / "data" / "profiles"))
        std::ofstream(entry.path(), std::ios::app) << "rubbish";
    EXPECT_FALSE(factory.CreateProfiles()->FindProfile(std::u16string(kProfile)));
}

}  // namespace
}  // namespace pastille::tests
