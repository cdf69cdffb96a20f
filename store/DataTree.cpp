#include "store/DataTree.h"

#include <algorithm>

#include "format/Bytes.h"
#include "platform/Text.h"

namespace pastille::store {
namespace {

// Block header words: btype in the low byte, cLevel in the high byte. [MS-PST] 2.2.2.8.3
constexpr std::uint16_t kXBlock = 0x0101;
constexpr std::uint16_t kXXBlock = 0x0201;
constexpr std::uint16_t kSlBlock = 0x0002;
constexpr std::uint16_t kSiBlock = 0x0102;

constexpr std::size_t kMostSubnodes = 700'000;
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
    constexpr std::uint32_t kInternalBit = 2;
    Buffer bytes;
    const auto block = reader.Find(bid);
    if (!block || (block->bid & kInternalBit) == 0 || !reader.ReadTreeBlock(*block, bytes))
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
                    std::vector<SubnodeEntry>& entries)
{
    const format::CByteView view(block);
    const std::size_t width = layout.keyWidth;
    const std::size_t count = view.ReadOrZero<std::uint16_t>(2);
    std::size_t at = SubnodeListStart(layout);
    for (std::size_t i = 0; i < count && view.Holds(at, 3 * width) && entries.size() < kMostSubnodes; ++i) {
        entries.push_back({view.ReadOrZero<std::uint32_t>(at), view.ReadOrZero<std::uint32_t>(at + width),
                           view.ReadOrZero<std::uint32_t>(at + 2 * width)});
        at += 3 * width;
    }
}

}  // namespace

std::vector<SubnodeEntry> LoadSubnodes(CBlockReader& reader, std::uint32_t bidSub)
{
    std::vector<SubnodeEntry> entries;
    const Buffer root = ReadTree(reader, bidSub);
    const format::VariantLayout& layout = reader.Layout();
    if (HeaderWord(root) == kSlBlock) {
        AppendSubnodes(root, layout, entries);
    } else if (HeaderWord(root) == kSiBlock) {
        const format::CByteView view(root);
        const std::size_t width = layout.keyWidth;
        const std::size_t count = view.ReadOrZero<std::uint16_t>(2);
        std::size_t at = SubnodeListStart(layout);
        for (std::size_t i = 0; i < count && view.Holds(at, 2 * width) && entries.size() < kMostSubnodes;
             ++i, at += 2 * width) {
            const Buffer leaf = ReadTree(reader, view.ReadOrZero<std::uint32_t>(at + width));
            if (HeaderWord(leaf) == kSlBlock)
                AppendSubnodes(leaf, layout, entries);
        }
    }
    return entries;
}

std::vector<std::uint32_t> LoadDataTree(CBlockReader& reader, std::uint32_t bidData)
{
    std::vector<std::uint32_t> bids;
    const Buffer root = ReadTree(reader, bidData);
    if (HeaderWord(root) == kXBlock) {
        bids = ListedBids(root, reader.Layout());
    } else if (HeaderWord(root) == kXXBlock) {
        for (const std::uint32_t child : ListedBids(root, reader.Layout())) {
            if (bids.size() >= kMostDataBlocks)
                break;
            const Buffer leaf = ReadTree(reader, child);
            if (HeaderWord(leaf) != kXBlock)
                continue;
            const auto listed = ListedBids(leaf, reader.Layout());
            const std::size_t room = kMostDataBlocks - std::min(kMostDataBlocks, bids.size());
            bids.insert(bids.end(), listed.begin(),
                        listed.begin() + static_cast<std::ptrdiff_t>(std::min(room, listed.size())));
        }
    } else if (HeaderWord(root) == kSlBlock) {
        // The first subnode's data stands for the whole; it is a block, not one more tree.
        std::vector<SubnodeEntry> entries;
        AppendSubnodes(root, reader.Layout(), entries);
        if (!entries.empty() && entries.front().bidData != 0)
            bids.push_back(entries.front().bidData);
    } else if (root.empty() && reader.Find(bidData)) {
        bids.push_back(bidData);
    }
    return bids;
}

void ReadDataTree(CBlockReader& reader, std::uint32_t bidData,
                  const std::function<bool(std::span<const std::byte>)>& take)
{
    Buffer contents;
    for (const std::uint32_t bid : LoadDataTree(reader, bidData)) {
        const auto block = reader.Find(bid);
        if (block && reader.ReadContents(*block, contents) && !take(contents))
            return;
    }
}

std::u16string WideText(std::span<const std::byte> bytes)
{
    std::u16string text(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char16_t>(format::LoadLE<std::uint16_t>(bytes, 2 * i));
    return text;
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
    return type == kString ? WideText(bytes) : codePage.ToUtf16(bytes);
}

}  // namespace pastille::store
