#include "tests/component/ComponentFixture.h"

namespace pastille::tests {
namespace {

using namespace writer;
namespace p = writer::property;

class ComponentFailures : public CComponentFixture {};

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
