#include "tests/component/StoreOnDisk.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>

#include "format/PropertyIds.h"

namespace pastille::tests {

using namespace component::pst;
using format::Nid;
using format::NidType;
namespace pid = format::pid;

StoreOnDisk::StoreOnDisk(const std::filesystem::path& path)
    : source(platform::HostFileSystem().OpenSource(path)), reader(*source)
{
    VerifyNodeDatabase(*source);
}

NodeRecord StoreOnDisk::Node(Nid nid)
{
    const auto node = reader.FindNode(nid);
    if (!node)
        throw std::runtime_error("no node " + std::to_string(nid.value));
    return *node;
}

std::uint32_t StoreOnDisk::Number(Nid nid, std::uint16_t id)
{
    return AsInteger32(*Properties(nid).Read(id)).value();
}

std::vector<NodeRecord> StoreOnDisk::Messages()
{
    auto contents = Table(Nid::Make(NidType::ContentsTable, format::nids::kIpmSubtree.Index()));
    std::vector<NodeRecord> messages;
    for (std::size_t row = 0; row < contents.RowCount(); ++row)
        messages.push_back(Node({contents.RowIdAt(row)}));
    return messages;
}

std::vector<NodeRecord> StoreOnDisk::AttachmentsOf(const NodeRecord& message)
{
    std::vector<NodeRecord> attachments;
    VisitSubnodes(reader, message.sub, [&](const NodeRecord& node) {
        if (node.nid.Type() == NidType::Attachment)
            attachments.push_back(node);
        return true;
    });
    return attachments;
}

namespace {

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

}  // namespace

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

}  // namespace pastille::tests
