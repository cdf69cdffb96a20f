#include <atomic>
#include <thread>

#include "format/PropertyIds.h"
#include "tests/component/ComponentFixture.h"
#include "tests/scenario/NewStore.h"
#include "tests/support/StoreBuilder.h"

namespace pastille::tests {
namespace {

using namespace writer;
namespace p = writer::property;

CRef<IMessageStore> OpenStore(component::CBuiltInComponent& factory, const std::filesystem::path& path)
{
    return factory.CreateSession()->GetStores()->OpenPstStore(path, Missing{});
}

/// Everything that a reader of a folder meets, as one text.
std::string Describe(const CRef<IStoreFolder>& folder)
{
    std::string text = platform::ToUtf8(folder->GetName()) + " " + std::to_string(folder->GetUnreadCount());
    const auto items = folder->GetItems();
    for (std::int32_t i = items->GetCount(); i > 0; --i) {
        const auto item = items->GetItem(i);
        text += "\n" + platform::ToUtf8(item->GetText(p::Subject) + u"|" + item->GetText(p::Body));
        const auto attachments = item->GetAttachments();
        for (std::int32_t k = 1; k <= attachments->GetCount(); ++k)
            if (const auto content = attachments->GetAttachment(k)->OpenContent())
                text += ReadAll(*content);
    }
    const auto folders = folder->GetFolders();
    for (std::int32_t i = 1; i <= folders->GetCount(); ++i)
        text += "\n" + Describe(folders->GetFolder(i));
    return text;
}

using ComponentRead = CComponentFixture;

TEST_F(ComponentRead, SessionsOnManyThreadsReadOneStore)
{
    StoreDescription description;
    description.format.variant = format::Variant::Ansi;
    for (const char16_t* name : {u"one", u"two"}) {
        StoreFolder box{.name = name};
        for (int i = 0; i < 40; ++i)
            box.messages.push_back(Mail(u"caf\u00E9", u"Ann", std::u16string(200 * i, u'\u00FC'), 0));
        box.messages[3].attachments = {{.fileName = u"a", .data = Bytes(300'000, std::byte{'z'})}};
        description.folders.push_back(box);
    }
    const auto path = folder / "mail.pst";
    CBuiltStore(description).WriteTo(path);
    const std::string expected = Describe(OpenStore(factory, path)->GetRootFolder());
    EXPECT_GT(expected.size(), 600'000u);
    std::atomic<int> same = 0;
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i)
        readers.emplace_back([&] {
            for (int round = 0; round < 3; ++round)
                same += Describe(OpenStore(factory, path)->GetRootFolder()) == expected ? 1 : 0;
        });
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(same, 12);
}

/// Reads of a source that a piece of work makes.
template <class Work>
std::size_t ReadsOf(CFaultyFileSystem& files, Work&& work)
{
    std::size_t reads = 0;
    files.faults.onSourceRead = [&](std::uint64_t) { ++reads; };
    work();
    files.faults.onSourceRead = {};
    return reads;
}

TEST_F(ComponentRead, ReadsOfALargeFolderWhatIsAskedFor)
{
    StoreDescription description;
    StoreFolder box{.name = u"box"};
    for (int i = 0; i < 8000; ++i)
        box.messages.push_back(
            {.properties = {Text(format::pid::kSubject, u"s" + platform::FromUtf8(std::to_string(i)))}});
    description.folders = {box};
    const auto path = folder / "mail.pst";
    CBuiltStore(description).WriteTo(path);
    // Row matrices of 8,000 rows have some hundred blocks, the folder's messages one each.
    std::size_t firstPage = ReadsOf(files, [&] {
        const auto items = FindFolder(OpenStore(factory, path)->GetRootFolder(), u"box")->GetItems();
        ASSERT_EQ(items->GetCount(), 8000);
        for (std::int32_t i = 7001; i <= 7020; ++i)
            EXPECT_EQ(items->GetItem(i)->GetText(p::Subject),
                      u"s" + platform::FromUtf8(std::to_string(i - 1)));
        EXPECT_FALSE(items->GetItem(0));
        EXPECT_FALSE(items->GetItem(8001));
    });
    EXPECT_LT(firstPage, 120u);
}

TEST_F(ComponentRead, AttachmentsAndEmbeddedMessages)
{
    CreateStore();
    const auto inner = AddItem(root, u"IPM.Note", u"inner");
    Attach(inner, "deep", u"deep.txt");
    const auto item = AddItem(root, u"IPM.Note", u"outer");
    const std::string large(100'000, 'L');
    Attach(item, large, u"folder/large name.bin");
    Attach(item, "short", u"", u"only displayed");
    item->GetAttachments()->AddAttachment(CRef<IStoreItem>(inner), u"inner");
    const auto expect = [&](const CRef<IMessageItem>& read) {
        const auto attachments = read->GetAttachments();
        ASSERT_EQ(attachments->GetCount(), 3);
        EXPECT_FALSE(attachments->GetAttachment(0));
        EXPECT_FALSE(attachments->GetAttachment(4));
        const auto first = attachments->GetAttachment(1);
        EXPECT_EQ(first->GetFileName(), u"folder/large name.bin");
        EXPECT_EQ(first->GetSize(), 100'000);
        EXPECT_EQ(ReadAll(*first->OpenContent()), large);
        EXPECT_FALSE(first->GetItem());
        const auto second = attachments->GetAttachment(2);
        EXPECT_EQ(second->GetFileName(), u"only displayed");
        EXPECT_EQ(ReadAll(*second->OpenContent()), "short");
        const auto third = attachments->GetAttachment(3);
        EXPECT_EQ(third->GetMethod(), 5);
        EXPECT_EQ(third->OpenContent(), nullptr);
        const auto embedded = third->GetItem();
        EXPECT_EQ(embedded->GetText(p::Subject), u"inner");
        EXPECT_EQ(ReadAll(*embedded->GetAttachments()->GetAttachment(1)->OpenContent()), "deep");
        EXPECT_EQ(ErrorOf([&] { embedded->SetText(p::Subject, u"x"); }).first, E_ACCESSDENIED);
    };
    expect(item);  // not saved yet
    item->Save();
    Reopen();
    expect(root->GetItems()->GetItem(1));
}

// An OST names no folder as the user's: it is the one in the mailbox that holds the others.
TEST_F(ComponentRead, FindsTheMailboxOfAnOst)
{
    StoreDescription description;
    description.topName = u"Root - Mailbox";
    description.format.ost = true;
    description.folders = {{.name = u"Views"}, {.name = u"IPM_SUBTREE", .folders = {{.name = u"Inbox"}}}};
    const auto path = folder / "mail.ost";
    CBuiltStore built(description);
    const auto rootName = [&] {
        built.WriteTo(path);
        return OpenStore(factory, path)->GetRootFolder()->GetName();
    };
    EXPECT_EQ(rootName(), u"Root - Mailbox") << "this one names it";
    built.Damage().EditBlock("store/data", [](std::span<std::byte> block) {
        const Bytes tag = Number(format::pid::kIpmSubtreeEntryId, 0x010235E0).value;
        const auto at = std::search(block.begin(), block.end(), tag.begin(), tag.end());
        ASSERT_NE(at, block.end());
        *at = std::byte{0xE1};
    });
    EXPECT_EQ(rootName(), u"IPM_SUBTREE");
    built.Damage().Drop("folder Views/hierarchy/data");
    EXPECT_EQ(rootName(), u"IPM_SUBTREE") << "what lies deeper than the mailbox may be damaged";
    built.Damage().Drop("folder Search Root/hierarchy/data");
    EXPECT_EQ(rootName(), u"") << "all is shown when the mailbox might be what is damaged";
}

namespace pid = format::pid;

using ComponentStore = CComponentStoreFixture;

// The heap of their table has more than 136 blocks, so that both kinds of bitmap header occur.
TEST_F(ComponentStore, ManyItemsInOneFolderKeepTheirOrder)
{
    const auto many = AddFolder(root, u"many");
    for (int i = 0; i < 2000; ++i) {
        const auto item =
            AddItem(many, u"IPM.Note", u"n" + std::u16string(1, static_cast<char16_t>(0x4E00 + i)));
        if (i < 700)
            item->SetText(p::DisplayTo, std::u16string(900 + i % 80, u'r'));
        item->Save();
    }
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
