#include <fstream>
#include <vector>

#include "tests/component/ComponentFixture.h"

namespace pastille::tests {
namespace {

using namespace writer;

using ComponentProfiles = CComponentFixture;

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

namespace p = writer::property;

using ComponentFailures = CComponentFixture;

template <class Interface, class Call>
void ExpectEmptyReferenceRaises(Call&& call)
{
    EXPECT_EQ(ErrorOf([&] { call(CRef<Interface>()); }), std::pair(E_POINTER, Interface::kInterfaceId));
}

TEST_F(ComponentFailures, EmptyReferenceRaisesPointerErrorOfTheInterface)
{
    ExpectEmptyReferenceRaises<IStoreFolder>([](auto ref) { ref->GetItems(); });
    ExpectEmptyReferenceRaises<IItemList>([](auto ref) { ref->AddItem(std::u16string()); });
    ExpectEmptyReferenceRaises<IMessageItem>([](auto ref) { ref->Save(); });
    ExpectEmptyReferenceRaises<IFolderSettings>([](auto ref) { ref->SetFolderFlag(1); });
    CreateStore();
    const auto attachments = AddItem(root, u"IPM.Note")->GetAttachments();
    EXPECT_EQ(ErrorOf([&] { attachments->AddAttachment(CRef<IStoreItem>(), u"x"); }),
              std::pair(E_POINTER, IAttachmentList::kInterfaceId));
}

TEST_F(ComponentFailures, EachNamesTheInterfaceThatWasCalled)
{
    CreateStore();
    const auto item = AddItem(root, u"IPM.Note");
    const auto attachments = item->GetAttachments();
    EXPECT_EQ(ErrorOf([&] { attachments->AddAttachment(CRef<IStoreItem>(item), u"itself"); }),
              std::pair(E_INVALIDARG, IAttachmentList::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { item->SetText(p::Importance, u"x"); }),
              std::pair(E_INVALIDARG, IMessageItem::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { root->GetItems()->AddItem(std::int32_t{1}); }),
              std::pair(E_INVALIDARG, IItemList::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { root->GetFolders()->GetFolder(Missing{}); }),
              std::pair(E_INVALIDARG, IFolderList::kInterfaceId));
    EXPECT_EQ(attachments->GetCount(), 0);
}

TEST_F(ComponentFailures, ItemOfAnotherStoreCannotBeAttached)
{
    CreateStore();
    const auto other =
        session->GetStores()->AddPstStore(folder / "other.pst", Missing{}, std::u16string(u"other"));
    const auto stranger = AddItem(other->GetRootFolder(), u"IPM.Note", u"stranger");
    const auto attachments = AddItem(root, u"IPM.Note")->GetAttachments();
    EXPECT_EQ(ErrorOf([&] { attachments->AddAttachment(CRef<IStoreItem>(stranger), u"x"); }).first,
              E_INVALIDARG);
    EXPECT_EQ(attachments->GetCount(), 0);
}

TEST_F(ComponentFailures, StoreOpenedForReadingRefusesChanges)
{
    CreateStore();
    AddItem(root, u"IPM.Note", u"x")->Save();
    AddFolder(root, u"folder");
    Reopen();
    const auto item = root->GetItems()->GetFirst();
    const auto sub = FindFolder(root, u"folder");
    EXPECT_EQ(ErrorOf([&] { item->SetText(p::Subject, u"y"); }),
              std::pair(E_ACCESSDENIED, IMessageItem::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { item->Save(); }), std::pair(E_ACCESSDENIED, IStoreItem::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { item->Reply(); }).first, E_ACCESSDENIED);
    EXPECT_EQ(ErrorOf([&] { root->GetItems()->AddItem(std::u16string(u"IPM.Note")); }).first, E_ACCESSDENIED);
    EXPECT_EQ(ErrorOf([&] { AddFolder(root, u"new"); }),
              std::pair(E_ACCESSDENIED, IFolderList::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { QueryInterface<IFolderSettings>(sub)->SetDefaultFolderKind(9); }).first,
              E_ACCESSDENIED);
    EXPECT_EQ(item->GetText(p::Subject), u"x");
}

TEST_F(ComponentFailures, ToWriteIsForGood)
{
    CreateStore();
    const auto item = AddItem(root, u"IPM.Note", u"x");
    item->Save();
    files.faults.diskBytes = 0;
    const auto full = [](const format::Guid& interfaceId) { return std::pair(E_MEDIUMFULL, interfaceId); };
    EXPECT_EQ(ErrorOf([&] { store->Commit(); }), full(IMessageStore::kInterfaceId));
    files.faults = {};
    EXPECT_EQ(ErrorOf([&] { store->Commit(); }), full(IMessageStore::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { item->Save(); }), full(IStoreItem::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { AddFolder(root, u"folder"); }), full(IFolderList::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { Attach(item, std::string(100'000, 'a'), u"a.bin"); }),
              full(IAttachmentList::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { item->SetText(p::Body, std::u16string(50'000, u'b')); }),
              full(IMessageItem::kInterfaceId));
}

TEST_F(ComponentFailures, OfANewStoreIsThatOfTheStoreList)
{
    factory.CreateProfiles()->AddProfile(kProfile, 0, Empty{});
    session = NewSession();
    files.faults.failingCreate = files.creates + 1;
    EXPECT_EQ(ErrorOf([&] {
                  session->GetStores()->AddPstStore(StorePath(), Missing{}, std::u16string(kStoreName));
              }),
              std::pair(E_WRITEFAULT, IStoreList::kInterfaceId));
}

}  // namespace
}  // namespace pastille::tests
