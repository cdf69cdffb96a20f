#include "component/pst/messaging/PstStore.h"
#include "format/PropertyIds.h"
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

/// What a run does, small: folders, mails with long values, an attachment, two commits.
class ComponentFullDisk : public CComponentFixture {
protected:
    /// Returns how many commits succeeded. Failures must be those of the storage.
    int FillStore()
    {
        int commits = 0;
        try {
            store = session->GetStores()->AddPstStore(StorePath(), Missing{}, std::u16string(kStoreName));
            root = store->GetRootFolder();
            for (int round = 0; round < 2; ++round) {
                const auto sub = AddFolder(root, round ? u"second" : u"first");
                for (int i = 0; i < 3; ++i) {
                    const auto item = AddItem(sub, u"IPM.Note", u"subject");
                    item->SetText(p::Body, std::u16string(20'000, u'b'));
                    Attach(item, m_attachment, u"a.bin");
                    item->Save();
                }
                store->Commit();
                ++commits;
            }
        } catch (const _com_error& error) {
            EXPECT_EQ(error.Error(), E_MEDIUMFULL);
            EXPECT_TRUE(error.IsStorageFailure());
            ExpectSticky();
        }
        return commits;
    }
    void ExpectSticky()
    {
        if (!store)
            return;
        files.faults = {};
        EXPECT_EQ(ErrorOf([&] { store->Commit(); }), std::pair(E_MEDIUMFULL, IMessageStore::kInterfaceId));
        const auto item = ErrorOf([&] { AddItem(root, u"IPM.Note", u"after the failure")->Save(); });
        EXPECT_EQ(item, std::pair(E_MEDIUMFULL, IStoreItem::kInterfaceId));
    }

    const std::string m_attachment = std::string(100'000, 'a');
};

TEST_F(ComponentFullDisk, LeavesTheLastCommitOrNoStore)
{
    factory.CreateProfiles()->AddProfile(kProfile, 0, Empty{});
    int runsWithFirstCommit = 0;
    bool failed = true;
    for (std::uint64_t room = 0; failed; room += 8192) {
        SCOPED_TRACE("room for " + std::to_string(room) + " bytes");
        std::filesystem::remove(StorePath());
        session = NewSession();
        files.written = 0;
        files.faults.diskBytes = room;
        const int commits = FillStore();
        failed = commits != 2;
        runsWithFirstCommit += commits == 1;
        root.Release(), store.Release(), session.Release();
        files.faults = {};
        if (!std::filesystem::exists(StorePath()))
            continue;
        const auto open = [&] { return component::pst::CPstStore::Open(files, StorePath()); };
        if (commits == 0) {
            EXPECT_ANY_THROW(open()) << "no file may pass for a store before its first commit";
            continue;
        }
        const auto finished = open();
        auto* const first = finished->FindSubfolder(finished->RootFolder(), u"first");
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(finished->MessagesOf(*first).size(), 3u);
        EXPECT_EQ(finished->FindSubfolder(finished->RootFolder(), u"second") != nullptr, commits == 2);
    }
    EXPECT_GT(runsWithFirstCommit, 0) << "the sweep must also meet failures after the first commit";
}

TEST_F(ComponentFullDisk, OtherFailuresAreWriteFaults)
{
    factory.CreateProfiles()->AddProfile(kProfile, 0, Empty{});
    session = NewSession();
    files.faults.failingCreate = files.creates + 1;
    EXPECT_TRUE(ErrorOf([&] {
                    session->GetStores()->AddPstStore(StorePath(), Missing{}, std::u16string(kStoreName));
                }).second == IStoreList::kInterfaceId);
    files.faults = {};
    store = session->GetStores()->AddPstStore(StorePath(), Missing{}, std::u16string(kStoreName));
    files.faults.failingSync = files.syncs + 1;
    const auto error = ErrorOf([&] { store->Commit(); });
    EXPECT_TRUE(error.first == E_WRITEFAULT || error.first == E_MEDIUMFULL);
    EXPECT_EQ(error.second, IMessageStore::kInterfaceId);
}

}  // namespace
}  // namespace pastille::tests
