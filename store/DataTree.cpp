#include "store/DataTree.h"

#include <algorithm>
#include <limits>

#include "format/Bytes.h"
#include "format/WideText.h"
#include "platform/Text.h"

namespace pastille::store {
namespace {

using namespace treeword;

constexpr std::size_t kMostDataBlocks = 1'100'000;

using Buffer = CBlockReader::Buffer;

std::uint16_t HeaderWord(const Buffer& block)
{
    return format::CByteView(block).ReadOrZero<std::uint16_t>(0);
}

/// The bytes of the tree block of a BID; empty when there is none. A block whose BID is not that of an
/// internal block is data, whatever its encoded bytes look like.
Buffer ReadTree(CBlockReader& reader, std::uint32_t bid)
{
    Buffer bytes;
    const auto block = reader.Find(bid);
    if (!block || !IsInternal(block->bid) || !reader.ReadTreeBlock(*block, bytes))
        bytes.clear();
    return bytes;
}

/// Low halves of the BIDs that an XBLOCK or XXBLOCK lists, up to the end of the block; zeros left out.
std::vector<std::uint32_t> ListedBids(const Buffer& block, const format::VariantLayout& layout)
{
    constexpr std::size_t kListStart = 8;
    const format::CByteView view(block);
    std::vector<std::uint32_t> bids;
    for (std::size_t at = kListStart; view.Holds(at, layout.keyWidth); at += layout.keyWidth) {
        if (const auto bid = view.ReadOrZero<std::uint32_t>(at); bid != 0)
            bids.push_back(bid);
    }
    return bids;
}

/// Entries of a subnode block start behind cEnt, which wide files pad to 8 bytes.
std::size_t SubnodeListStart(const format::VariantLayout& layout)
{
    return layout.wide ? 8 : 4;
}

void AppendSubnodes(const Buffer& block, const format::VariantLayout& layout,
                    std::vector<SubnodeEntry>& entries, std::size_t most)
{
    const format::CByteView view(block);
    const std::size_t width = layout.keyWidth;
    const std::size_t count = view.ReadOrZero<std::uint16_t>(2);
    std::size_t at = SubnodeListStart(layout);
    for (std::size_t i = 0; i < count && view.Holds(at, 3 * width) && entries.size() < most; ++i) {
        entries.push_back({view.ReadOrZero<std::uint32_t>(at), view.ReadOrZero<std::uint32_t>(at + width),
                           view.ReadOrZero<std::uint32_t>(at + 2 * width)});
        at += 3 * width;
    }
}

/// The tree blocks below an index block. One may be listed any number of times: they end when they add up to
/// the size of the whole file.
class CChildBlocks {
public:
    explicit CChildBlocks(CBlockReader& reader) : m_reader(reader), m_left(reader.SourceSize()) {}

    /// Empty when the child is not there, and for all further ones when there are too many.
    Buffer Read(std::uint32_t bid)
    {
        Buffer block;
        if (m_left == 0)
            return block;
        block = ReadTree(m_reader, bid);
        m_left -= std::min<std::uint64_t>(m_left, block.size());
        return block;
    }

private:
    CBlockReader& m_reader;
    std::uint64_t m_left;
};

std::vector<std::uint32_t> ListedBelow(CBlockReader& reader, const Buffer& root)
{
    std::vector<std::uint32_t> bids;
    CChildBlocks children(reader);
    for (const std::uint32_t child : ListedBids(root, reader.Layout())) {
        if (bids.size() >= kMostDataBlocks)
            break;
        const Buffer leaf = children.Read(child);
        if (HeaderWord(leaf) != kXBlock)
            continue;
        const auto listed = ListedBids(leaf, reader.Layout());
        const std::size_t room = std::min(kMostDataBlocks - bids.size(), listed.size());
        bids.insert(bids.end(), listed.begin(), listed.begin() + static_cast<std::ptrdiff_t>(room));
    }
    return bids;
}

std::vector<std::uint32_t> LoadTree(CBlockReader& reader, std::uint32_t bid, bool followSubnodes)
{
    const auto block = reader.Find(bid);
    if (!block)
        return {};
    if (!IsInternal(block->bid))
        return {bid};
    const Buffer root = ReadTree(reader, bid);
    switch (HeaderWord(root)) {
        case kXBlock:
            return ListedBids(root, reader.Layout());
        case kXXBlock:
            return ListedBelow(reader, root);
        case kSlBlock: {
            std::vector<SubnodeEntry> entries;
            AppendSubnodes(root, reader.Layout(), entries, 1);
            if (!followSubnodes || entries.empty())
                return {};
            return LoadTree(reader, entries.front().bidData, false);
        }
        default:
            return {};
    }
}

}  // namespace

std::vector<SubnodeEntry> LoadSubnodes(CBlockReader& reader, std::uint32_t bidSub, std::size_t most)
{
    std::vector<SubnodeEntry> entries;
    const Buffer root = ReadTree(reader, bidSub);
    const format::VariantLayout& layout = reader.Layout();
    if (HeaderWord(root) == kSlBlock) {
        AppendSubnodes(root, layout, entries, most);
    } else if (HeaderWord(root) == kSiBlock) {
        const format::CByteView view(root);
        const std::size_t width = layout.keyWidth;
        const std::size_t count = view.ReadOrZero<std::uint16_t>(2);
        CChildBlocks children(reader);
        std::size_t at = SubnodeListStart(layout);
        for (std::size_t i = 0; i < count && view.Holds(at, 2 * width) && entries.size() < most;
             ++i, at += 2 * width) {
            const Buffer leaf = children.Read(view.ReadOrZero<std::uint32_t>(at + width));
            if (HeaderWord(leaf) == kSlBlock)
                AppendSubnodes(leaf, layout, entries, most);
        }
    }
    return entries;
}

std::optional<BlockRecord> FirstDataBlock(CBlockReader& reader, std::uint32_t bidData)
{
    const auto block = reader.Find(bidData);
    if (!block || !IsInternal(block->bid))
        return block;
    const auto bids = LoadDataTree(reader, bidData);
    return bids.empty() ? std::nullopt : reader.Find(bids.front());
}

std::vector<std::uint32_t> LoadDataTree(CBlockReader& reader, std::uint32_t bidData)
{
    return LoadTree(reader, bidData, true);
}

CDataBlocks::CDataBlocks(CBlockReader& reader, std::vector<std::uint32_t> bids)
    : m_reader(reader),
      m_bids(std::move(bids)),
      m_placesLeft(reader.SourceSize()),
      m_bytesLeft(std::numeric_limits<std::int32_t>::max())
{
    // No text packs better than this by far; a block of nothing but zeros may.
    constexpr std::uint64_t kAlwaysAllowed = 64u << 20, kBestPacking = 64;
    if (reader.Layout().variant == format::Variant::Unicode4k)
        m_bytesLeft = std::min(m_bytesLeft, kAlwaysAllowed + kBestPacking * LookUp().bytes);
}

std::optional<BlockRecord> CDataBlocks::Find(std::uint32_t bid) const
{
    const auto block = m_reader.Find(bid);
    return block && !IsInternal(block->bid) ? block : std::nullopt;
}

CDataBlocks::Found CDataBlocks::LookUp() const
{
    Found found;
    for (const std::uint32_t bid : m_bids) {
        if (const auto block = Find(bid)) {
            ++found.blocks;
            found.bytes += block->cb;
        }
    }
    return found;
}

bool CDataBlocks::Next(bool (CBlockReader::*read)(const BlockRecord&, CBlockReader::Buffer&))
{
    while (m_next < m_bids.size() && m_placesLeft != 0 && m_bytesLeft != 0) {
        const auto block = Find(m_bids[m_next++]);
        if (!block)
            continue;
        m_placesLeft -= std::min(m_placesLeft, format::BlockExtent(m_reader.Layout(), block->cb));
        if (!(m_reader.*read)(*block, m_contents))
            continue;
        m_contents.resize(std::min<std::uint64_t>(m_contents.size(), m_bytesLeft));
        m_bytesLeft -= m_contents.size();
        return true;
    }
    return false;
}

std::size_t CDataStream::Read(std::span<std::byte> into)
{
    std::size_t done = 0;
    while (done < into.size()) {
        if (m_left.empty()) {
            if (!m_blocks.NextOfFile())
                break;
            m_left = m_blocks.Contents();
        }
        const std::size_t count = std::min(m_left.size(), into.size() - done);
        std::copy_n(m_left.begin(), count, into.begin() + static_cast<std::ptrdiff_t>(done));
        m_left = m_left.subspan(count);
        done += count;
    }
    return done;
}

void ReadDataTree(CBlockReader& reader, std::uint32_t bidData,
                  const std::function<bool(std::span<const std::byte>)>& take)
{
    CDataBlocks blocks(reader, LoadDataTree(reader, bidData));
    while (blocks.Next()) {
        if (!take(blocks.Contents()))
            return;
    }
}

std::u16string ReadSubnodeText(CBlockReader& reader, const std::vector<SubnodeEntry>& subnodes,
                               std::uint32_t nid, std::uint16_t type, const platform::CCodePage& codePage,
                               std::size_t maximumBytes)
{
    constexpr std::uint16_t kString = 0x001F;
    constexpr std::uint16_t kString8 = 0x001E;
    if (type != kString && type != kString8)
        return {};
    const auto entry = std::find_if(subnodes.begin(), subnodes.end(),
                                    [&](const SubnodeEntry& candidate) { return candidate.nid == nid; });
    if (entry == subnodes.end())
        return {};
    Buffer bytes;
    ReadDataTree(reader, entry->bidData, [&](std::span<const std::byte> piece) {
        const std::size_t taken = std::min(piece.size(), maximumBytes - bytes.size());
        bytes.insert(bytes.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(taken));
        return bytes.size() < maximumBytes;
    });
    return type == kString ? format::WideText(bytes) : codePage.ToUtf16(bytes);
}

}  // namespace pastille::store
