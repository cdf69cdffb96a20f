#include <cstddef>
#include <cstdint>

#include "format/Ids.h"
#include "fuzz/Run.h"
#include "store/DataTree.h"
#include "store/FolderProperties.h"
#include "store/NamedProperties.h"

namespace {

using namespace pastille;

/// Reads of every node and orphan what the phases that write would read.
class CReadEverything final : public fuzz::CNoRecovery {
public:
    void CollectFolders(store::RunContext& run) override
    {
        store::CSourceStore& source = run.source;
        constexpr std::size_t kMostNodes = 2000;
        std::size_t nodes = 0;
        for (const store::NodeRecord& node : source.nodes) {
            if (++nodes > kMostNodes)
                return;
            ReadNode(source, node);
        }
    }
    void RecoverItems(store::RunContext& run) override
    {
        for (const store::OrphanRecord& orphan : run.source.orphans)
            ReadContents(run.source, orphan.bidData, orphan.bidSub);
    }

private:
    void ReadNode(store::CSourceStore& source, const store::NodeRecord& node)
    {
        const auto block = source.reader.Find(node.bidData);
        if (!block)
            return;
        if (source.reader.IsMethodPending())
            source.reader.DetectCryptMethod(*block);
        store::ReadFolderProperties(source.reader, *block, source.codePage);
        ReadContents(source, node.bidData, node.bidSub);
        if (node.nid == format::nids::kNameToIdMap.value)
            store::ReadNamedProperties(source.reader, node.bidData, node.bidSub, source.namedProperties);
    }
    void ReadContents(store::CSourceStore& source, std::uint32_t bidData, std::uint32_t bidSub)
    {
        for (const store::SubnodeEntry& entry : store::LoadSubnodes(source.reader, bidSub))
            ReadSome(source, entry.bidData);
        ReadSome(source, bidData);
    }
    void ReadSome(store::CSourceStore& source, std::uint32_t bid)
    {
        // Many nodes may name one large tree: the time of one input is bounded, not the reader.
        store::ReadDataTree(source.reader, bid, [this](std::span<const std::byte> piece) {
            m_read += piece.size() + 1;
            return m_read < (std::size_t{4} << 20);
        });
    }
    std::size_t m_read = 0;
};

}  // namespace

// A whole file, scanned and read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CReadEverything recovery;
    fuzz::RunOver(std::as_bytes(std::span(data, size)), recovery);
    return 0;
}
