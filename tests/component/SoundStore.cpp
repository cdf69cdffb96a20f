#include "tests/component/SoundStore.h"

#include <gtest/gtest.h>

#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ndb/NdbReader.h"
#include "format/PropertyIds.h"
#include "tests/support/StoreFindings.h"

namespace pastille::tests {
namespace {

using namespace component::pst;

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
    const auto source = platform::HostFileSystem().OpenSource(path);
    EXPECT_EQ(CheckedStore(*source).errors, "");
    // Readers do not ask for it, but it is what the component has decided to write.
    CNdbReader reader(*source);
    reader.VisitNodes([&](const NodeRecord& node) {
        if (node.nid.Type() == format::NidType::NormalMessage) {
            CPropertyReader properties(reader, node);
            EXPECT_EQ(AsInteger32(*properties.Read(format::pid::kMessageSize)), BytesOf(reader, node));
        }
        return true;
    });
}

}  // namespace pastille::tests
