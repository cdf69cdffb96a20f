#include "format/Block.h"

#include <algorithm>
#include <array>

#include "format/Checksum.h"

namespace pastille::format {
namespace {

constexpr std::size_t kInflatedSizeOffset = 18;  ///< in the trailer of a 4 KB file

/// An SLBLOCK or SIBLOCK whose entries are `fields` numbers each.
template <class Entry, std::size_t kFields, class FieldsOf>
std::vector<std::byte> EncodeSubnodeBlock(const VariantLayout& layout, std::uint8_t level,
                                          std::span<const Entry> entries, FieldsOf fieldsOf)
{
    std::size_t offset = SubnodeHeaderSize(layout);
    std::vector<std::byte> block(offset + entries.size() * kFields * layout.keyWidth);
    StoreLE<std::uint8_t>(block, 0, kBlockTypeSubnode);
    StoreLE<std::uint8_t>(block, 1, level);
    StoreLE<std::uint16_t>(block, 2, static_cast<std::uint16_t>(entries.size()));
    for (const Entry& entry : entries)
        for (const std::uint64_t field : fieldsOf(entry)) {
            StoreKey(block, offset, layout.keyWidth, field);
            offset += layout.keyWidth;
        }
    return block;
}

}  // namespace

void EncodeBlockTrailer(const VariantLayout& layout, std::span<std::byte> extent, std::size_t dataBytes,
                        std::uint64_t fileOffset, std::uint64_t bid, std::uint16_t inflatedSize)
{
    const auto size = static_cast<std::uint16_t>(dataBytes);
    std::ranges::fill(extent.subspan(dataBytes), std::byte{0});
    const auto trailer = extent.last(layout.blockTrailerSize);
    StoreLE<std::uint16_t>(trailer, 0, size);
    StoreLE<std::uint16_t>(trailer, 2, ComputeSignature(fileOffset, bid));
    StoreLE<std::uint32_t>(trailer, layout.blockCrcOffset, ComputeCrc(extent.first(dataBytes)));
    StoreKey(trailer, layout.blockBidOffset, layout.keyWidth, bid);
    if (layout.variant == Variant::Unicode4k)
        StoreLE<std::uint16_t>(trailer, kInflatedSizeOffset, inflatedSize == 0 ? size : inflatedSize);
}

std::optional<CheckedBlockTrailer> ParseBlockTrailer(const VariantLayout& layout, CByteView extent,
                                                     std::size_t dataBytes, std::uint64_t fileOffset,
                                                     std::uint64_t bid)
{
    if (extent.Size() != BlockExtent(layout, dataBytes))
        return std::nullopt;
    const CByteView trailer(extent.Bytes().last(layout.blockTrailerSize));
    CheckedBlockTrailer checked;
    checked.trailer.size = trailer.ReadOrZero<std::uint16_t>(0);
    checked.trailer.signature = trailer.ReadOrZero<std::uint16_t>(2);
    checked.trailer.crc = trailer.ReadOrZero<std::uint32_t>(layout.blockCrcOffset);
    checked.trailer.bid = trailer.ReadKey(layout.blockBidOffset, layout.keyWidth).value_or(0);
    checked.trailer.inflatedSize = layout.variant == Variant::Unicode4k
                                       ? trailer.ReadOrZero<std::uint16_t>(kInflatedSizeOffset)
                                       : checked.trailer.size;
    if (checked.trailer.size != dataBytes)
        checked.faults |= kBlockBadSize;
    if (checked.trailer.signature != ComputeSignature(fileOffset, checked.trailer.bid))
        checked.faults |= kBlockBadSignature;
    if (checked.trailer.crc != ComputeCrc(extent.Bytes().first(dataBytes)))
        checked.faults |= kBlockBadCrc;
    if ((checked.trailer.bid ^ bid) > 1)
        checked.faults |= kBlockBadBid;
    return checked;
}

Result<CDataTreeBlock> CDataTreeBlock::Parse(const VariantLayout& layout, CByteView block)
{
    CDataTreeBlock view;
    view.m_block = block;
    view.m_keyWidth = layout.keyWidth;
    view.m_level = block.ReadOrZero<std::uint8_t>(1);
    view.m_count = block.ReadOrZero<std::uint16_t>(2);
    view.m_totalSize = block.ReadOrZero<std::uint32_t>(4);
    const auto type = block.ReadOrZero<std::uint8_t>(0);
    if (type != kBlockTypeDataTree)
        return Fault{"XBLOCK", "btype", type, 0};
    if (view.m_level != 1 && view.m_level != 2)
        return Fault{"XBLOCK", "cLevel", view.m_level, 1};
    if (!block.Holds(8, view.m_count * layout.keyWidth))
        return Fault{"XBLOCK", "cEnt", view.m_count, 2};
    return view;
}

std::vector<std::byte> EncodeDataTreeBlock(const VariantLayout& layout, unsigned level,
                                           std::uint32_t totalSize, std::span<const std::uint64_t> children)
{
    std::vector<std::byte> block(8 + children.size() * layout.keyWidth);
    StoreLE<std::uint8_t>(block, 0, kBlockTypeDataTree);
    StoreLE<std::uint8_t>(block, 1, static_cast<std::uint8_t>(level));
    StoreLE<std::uint16_t>(block, 2, static_cast<std::uint16_t>(children.size()));
    StoreLE<std::uint32_t>(block, 4, totalSize);
    for (std::size_t i = 0; i < children.size(); ++i)
        StoreKey(block, 8 + i * layout.keyWidth, layout.keyWidth, children[i]);
    return block;
}

Result<CSubnodeBlock> CSubnodeBlock::Parse(const VariantLayout& layout, CByteView block)
{
    const auto type = block.ReadOrZero<std::uint8_t>(0);
    if (type != kBlockTypeSubnode)
        return Fault{"SLBLOCK", "btype", type, 0};
    CSubnodeBlock view;
    view.m_keyWidth = layout.keyWidth;
    view.m_level = block.ReadOrZero<std::uint8_t>(1);
    view.m_count = block.ReadOrZero<std::uint16_t>(2);
    if (view.m_level > 1)
        return Fault{"SLBLOCK", "cLevel", view.m_level, 1};
    const std::size_t entrySize = (view.m_level == 0 ? 3 : 2) * layout.keyWidth;
    const auto entries = block.Sub(SubnodeHeaderSize(layout), view.m_count * entrySize);
    if (!entries)
        return Fault{"SLBLOCK", "cEnt", view.m_count, 2};
    view.m_entries = *entries;
    return view;
}

SubnodeLeafEntry CSubnodeBlock::LeafAt(std::size_t index) const
{
    const std::size_t offset = index * 3 * m_keyWidth;
    return {m_entries.ReadKey(offset, m_keyWidth).value_or(0),
            m_entries.ReadKey(offset + m_keyWidth, m_keyWidth).value_or(0),
            m_entries.ReadKey(offset + 2 * m_keyWidth, m_keyWidth).value_or(0)};
}

SubnodeIndexEntry CSubnodeBlock::ChildAt(std::size_t index) const
{
    const std::size_t offset = index * 2 * m_keyWidth;
    return {m_entries.ReadKey(offset, m_keyWidth).value_or(0),
            m_entries.ReadKey(offset + m_keyWidth, m_keyWidth).value_or(0)};
}

std::vector<std::byte> EncodeSubnodeLeaf(const VariantLayout& layout,
                                         std::span<const SubnodeLeafEntry> entries)
{
    return EncodeSubnodeBlock<SubnodeLeafEntry, 3>(layout, 0, entries, [](const SubnodeLeafEntry& entry) {
        return std::array{entry.nid, entry.bidData, entry.bidSub};
    });
}

std::vector<std::byte> EncodeSubnodeIndex(const VariantLayout& layout,
                                          std::span<const SubnodeIndexEntry> entries)
{
    return EncodeSubnodeBlock<SubnodeIndexEntry, 2>(layout, 1, entries, [](const SubnodeIndexEntry& entry) {
        return std::array{entry.nid, entry.bid};
    });
}

}  // namespace pastille::format
