#include "tests/component/StoreOnDisk.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "format/PropertyIds.h"
#include "tests/support/StoreFindings.h"

namespace pastille::tests {

using namespace component::pst;
using format::Nid;
using format::NidType;
namespace pid = format::pid;

StoreOnDisk::StoreOnDisk(const std::filesystem::path& path)
    : source(platform::HostFileSystem().OpenSource(path)), reader(*source)
{
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

}  // namespace

void ExpectSoundStore(const std::filesystem::path& path)
{
    StoreOnDisk store(path);
    EXPECT_EQ(CheckedStore(*store.source).errors, "");
    // Readers do not ask for it, but it is what the component has decided to write.
    store.reader.VisitNodes([&](const NodeRecord& node) {
        if (node.nid.Type() == NidType::NormalMessage) {
            EXPECT_EQ(store.Number(node.nid, pid::kMessageSize), BytesOf(store.reader, node));
        }
        return true;
    });
}

}  // namespace pastille::tests
