#include <cstddef>
#include <cstdint>

#include "format/Ids.h"
#include "store/DataTree.h"
#include "store/FolderProperties.h"
#include "store/NamedProperties.h"
#include "store/OutLook.h"
#include "tests/support/FaultyFileSystem.h"

namespace {

using namespace pastille;

class CSilentFrontEnd final : public platform::IFrontEnd {
public:
    void Send(const platform::Message&) override {}
};

/// Reads of every node what the phases that write would read.
class CReadEverything final : public store::IRecovery {
public:
    void SetUpOutput(store::RunContext&) override {}
    void WriteLog(std::u16string_view) override {}
    void CollectFolders(store::RunContext& run) override
    {
        store::CSourceStore& source = run.source;
        constexpr std::size_t kMostNodes = 2000;
        std::size_t nodes = 0;
        for (const store::NodeRecord& node : source.nodes) {
            if (++nodes > kMostNodes)
                return;
            const auto block = source.reader.Find(node.bidData);
            if (!block)
                continue;
            if (source.reader.IsMethodPending())
                source.reader.DetectCryptMethod(*block);
            store::ReadFolderProperties(source.reader, *block, source.codePage);
            for (const store::SubnodeEntry& entry : store::LoadSubnodes(source.reader, node.bidSub))
                ReadSome(source, entry.bidData);
            ReadSome(source, node.bidData);
            if (node.nid == format::nids::kNameToIdMap.value)
                store::ReadNamedProperties(source.reader, node.bidData, node.bidSub, source.namedProperties);
        }
    }
    void RecoverItems(store::RunContext&) override {}
    void CloseOutput(store::RunContext&) override {}

private:
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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tests::CMemoryFileSystem files(std::as_bytes(std::span(data, size)));
    CSilentFrontEnd frontEnd;
    CReadEverything recovery;
    platform::RunState state;
    store::COutLook(files, frontEnd, recovery).Run({}, state);
    return 0;
}
