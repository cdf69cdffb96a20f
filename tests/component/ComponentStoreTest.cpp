#include <set>
#include <vector>

#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ltp/TableReader.h"
#include "component/pst/ndb/NdbReader.h"
#include "format/PropertyIds.h"
#include "tests/component/ComponentFixture.h"

namespace pastille::tests {
namespace {

using namespace writer;
using namespace component::pst;
using format::Nid;
using format::NidType;
namespace p = writer::property;
namespace pid = format::pid;

/// The finished file, seen by the layers below the component.
struct StoreOnDisk {
    explicit StoreOnDisk(const std::filesystem::path& path)
        : source(platform::HostFileSystem().OpenSource(path)), reader(*source)
    {
        VerifyNodeDatabase(*source);
    }
    NodeRecord Node(Nid nid)
    {
        const auto node = reader.FindNode(nid);
        if (!node)
            throw std::runtime_error("no node " + std::to_string(nid.value));
        return *node;
    }
    CPropertyReader Properties(Nid nid) { return CPropertyReader(reader, Node(nid)); }
    CTableReader Table(Nid nid) { return CTableReader(reader, Node(nid)); }
    std::uint32_t Number(Nid nid, std::uint16_t id) { return AsInteger32(*Properties(nid).Read(id)).value(); }

    std::unique_ptr<platform::IByteSource> source;
    CNdbReader reader;
};

/// Data bytes of a node and of everything below it, which is what PidTagMessageSize counts.
std::uint64_t BytesOf(INodeDatabase& database, const NodeRecord& node)
{
    std::uint64_t size = DataTreeSize(database, node.data);
    VisitSubnodes(database, node.sub, [&](const NodeRecord& subnode) {
        size += BytesOf(database, subnode);
        return true;
    });
    return size;
}

/// What every message keeps, embedded ones included.
void ExpectSoundMessage(INodeDatabase& database, const NodeRecord& node)
{
    CPropertyReader message(database, node);
    for (const auto id : {pid::kMessageClass, pid::kMessageFlags, pid::kMessageSize, pid::kCreationTime,
                          pid::kLastModificationTime, pid::kSearchKey})
        EXPECT_TRUE(message.Has(id)) << std::hex << id;
    EXPECT_EQ(AsInteger32(*message.Read(pid::kMessageSize)), BytesOf(database, node));
    ASSERT_TRUE(message.FindSubnode(format::nids::kRecipientTable));
    EXPECT_EQ(CTableReader(database, *message.FindSubnode(format::nids::kRecipientTable)).RowCount(), 0u);

    const auto tableNode = message.FindSubnode(format::nids::kAttachmentTable);
    const bool flagged = (*AsInteger32(*message.Read(pid::kMessageFlags)) & 0x10) != 0;
    ASSERT_EQ(tableNode.has_value(), flagged);
    std::size_t attachments = 0;
    VisitSubnodes(database, node.sub, [&](const NodeRecord& subnode) {
        if (subnode.nid.Type() != NidType::Attachment)
            return true;
        CTableReader table(database, *tableNode);
        const auto row = table.FindRow(subnode.nid.value);
        CPropertyReader attachment(database, subnode);
        EXPECT_TRUE(row);
        for (const auto id :
             {pid::kAttachSize, pid::kAttachFilename, pid::kAttachMethod, pid::kRenderingPosition})
            EXPECT_EQ(table.Cell(row.value_or(0), id), attachment.Read(id)) << std::hex << id;
        EXPECT_EQ(AsInteger32(*attachment.Read(pid::kAttachNumber)), attachments++);
        std::uint64_t size = 0;
        for (const auto tag : attachment.Tags())
            size += tag.type == format::PropertyType::Object
                        ? format::LoadLE<std::uint32_t>(attachment.Read(tag.id)->bytes, 4)
                        : attachment.SizeOf(tag.id).value();
        EXPECT_EQ(AsInteger32(*attachment.Read(pid::kAttachSize)), size);
        if (const auto embedded = attachment.OpenObject(pid::kAttachDataBinary)) {
            EXPECT_EQ(embedded->nid.Type(), NidType::NormalMessage);
            ExpectSoundMessage(database, *embedded);
        }
        return true;
    });
}

/// A contents row has the same cell as its message for each of the table's columns.
void ExpectRowOfMessage(CTableReader& contents, std::size_t row, CPropertyReader& message)
{
    for (const auto& column : contents.Info().columns) {
        if (column.tag.id == pid::kLtpRowId || column.tag.id == pid::kLtpRowVer)
            continue;
        const auto cell = contents.Cell(row, column.tag.id);
        const auto value = message.Read(column.tag.id);
        ASSERT_EQ(cell.has_value(), value.has_value()) << std::hex << column.tag.Value();
        if (cell) {
            EXPECT_EQ(cell->bytes, value->bytes) << std::hex << column.tag.Value();
        }
    }
}

/// Checks a folder's four nodes against each other, its parent's row and its messages, and all folders below.
void ExpectSoundFolder(StoreOnDisk& store, Nid folder, Nid parent, std::set<std::uint32_t>& rowVersions)
{
    SCOPED_TRACE("folder " + std::to_string(folder.value));
    EXPECT_EQ(store.Node(folder).parent, parent);
    auto contents = store.Table(Nid::Make(NidType::ContentsTable, folder.Index()));
    auto hierarchy = store.Table(Nid::Make(NidType::HierarchyTable, folder.Index()));
    EXPECT_EQ(store.Table(Nid::Make(NidType::AssociatedContentsTable, folder.Index())).RowCount(), 0u);
    contents.VerifyRowIndex();
    hierarchy.VerifyRowIndex();

    std::uint32_t unread = 0;
    for (std::size_t row = 0; row < contents.RowCount(); ++row) {
        const Nid nid{contents.RowIdAt(row)};
        const auto node = store.Node(nid);
        EXPECT_EQ(node.parent, folder);
        CPropertyReader message(store.reader, node);
        ExpectSoundMessage(store.reader, node);
        ExpectRowOfMessage(contents, row, message);
        unread += (*AsInteger32(*message.Read(pid::kMessageFlags)) & 1) == 0 ? 1 : 0;
        EXPECT_TRUE(rowVersions.insert(*AsInteger32(*contents.Cell(row, pid::kLtpRowVer))).second);
    }
    EXPECT_EQ(store.Number(folder, pid::kContentCount), contents.RowCount());
    EXPECT_EQ(store.Number(folder, pid::kContentUnreadCount), unread);
    EXPECT_EQ(AsBoolean(*store.Properties(folder).Read(pid::kSubfolders)), hierarchy.RowCount() != 0);

    for (std::size_t row = 0; row < hierarchy.RowCount(); ++row) {
        const Nid child{hierarchy.RowIdAt(row)};
        auto properties = store.Properties(child);
        for (const auto id : {pid::kDisplayName, pid::kContentCount, pid::kContentUnreadCount,
                              pid::kSubfolders, pid::kContainerClass})
            EXPECT_EQ(hierarchy.Cell(row, id), properties.Read(id)) << std::hex << id;
        EXPECT_TRUE(rowVersions.insert(*AsInteger32(*hierarchy.Cell(row, pid::kLtpRowVer))).second);
        if (child.Type() == NidType::NormalFolder)
            ExpectSoundFolder(store, child, folder, rowVersions);
    }
}

void ExpectSoundStore(const std::filesystem::path& path)
{
    StoreOnDisk store(path);
    std::set<std::uint32_t> rowVersions;
    ExpectSoundFolder(store, format::nids::kRootFolder, format::nids::kRootFolder, rowVersions);
    EXPECT_LT(*rowVersions.rbegin(), store.reader.Header().unique);
    // Every message and folder hangs in the tree, so that nothing in the node table is out of reach.
    std::size_t reachable = 0, present = 0;
    store.reader.VisitNodes([&](const NodeRecord& node) {
        const auto type = node.nid.Type();
        if (type != NidType::NormalMessage && type != NidType::NormalFolder)
            return true;
        ++present;
        const auto table = type == NidType::NormalMessage ? NidType::ContentsTable : NidType::HierarchyTable;
        reachable += node.nid == format::nids::kRootFolder ||
                     store.Table(Nid::Make(table, node.parent.Index())).FindRow(node.nid.value);
        return true;
    });
    EXPECT_EQ(reachable, present);
}

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

TEST_F(ComponentStore, AttachmentsAndEmbeddedItemsKeepTheirContents)
{
    const std::string large(300'000, 'L');
    const auto inner = AddItem(root, u"IPM.Note", u"inner");
    inner->GetAttachments()->AddAttachment(WriteFile("host name.bin", large), u"..\\large?.data");
    const auto innermost = AddItem(root, u"IPM.Contact", u"innermost");
    innermost->SetText(p::Body, std::u16string(50'000, u'b'));
    inner->GetAttachments()->AddAttachment(CRef<IStoreItem>(innermost), u"Innermost");
    const auto outer = AddItem(root, u"IPM.Note", u"outer");
    outer->GetAttachments()->AddAttachment(WriteFile("empty", ""), u"");
    outer->GetAttachments()->AddAttachment(CRef<IStoreItem>(inner), u"Inner");
    inner->SetText(p::Subject, u"changed after it was attached");
    inner->Save();
    outer->Save();
    EXPECT_EQ(outer->GetAttachments()->GetCount(), 2);
    outer->GetAttachments()->AddAttachment(WriteFile("later", "later"), u"later.txt");
    outer->Save();
    Reopen();
    ExpectSoundStore(StorePath());
    const auto items = root->GetItems();
    ASSERT_EQ(items->GetCount(), 2) << "the innermost item was never saved on its own";
    EXPECT_EQ(items->GetFirst()->GetAttachments()->GetCount(), 2);
    EXPECT_EQ(items->GetNext()->GetAttachments()->GetCount(), 3);

    StoreOnDisk disk(StorePath());
    auto contents = disk.Table({0x802E});
    CPropertyReader message(disk.reader, disk.Node({contents.RowIdAt(1)}));
    std::vector<NodeRecord> attachments;
    VisitSubnodes(disk.reader, message.Node().sub, [&](const NodeRecord& node) {
        if (node.nid.Type() == NidType::Attachment)
            attachments.push_back(node);
        return true;
    });
    ASSERT_EQ(attachments.size(), 3u);
    CPropertyReader embedded(
        disk.reader, *CPropertyReader(disk.reader, attachments[1]).OpenObject(pid::kAttachDataBinary));
    EXPECT_EQ(AsString(*embedded.Read(pid::kSubject)), u"inner");
    std::size_t found = 0;
    VisitSubnodes(disk.reader, embedded.Node().sub, [&](const NodeRecord& node) {
        CPropertyReader properties(disk.reader,
                                   node.nid.Type() == NidType::Attachment ? node : attachments[0]);
        if (const auto stream = properties.Open(pid::kAttachDataBinary)) {
            ++found;
            EXPECT_EQ(AsString(*properties.Read(pid::kAttachLongFilename)), u"..\\large?.data");
            const auto bytes = stream->ReadAll();
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()), large);
        }
        return true;
    });
    EXPECT_EQ(found, 1u);
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
    session = NewSession();
    EXPECT_EQ(ErrorOf([&] { session->GetStores()->GetDefaultStore(); }).first, E_FAIL) << "never committed";
    item.Release();
    EXPECT_EQ(session->GetStores()->GetDefaultStore()->GetRootFolder()->GetItems()->GetCount(), 1);
}

}  // namespace
}  // namespace pastille::tests
