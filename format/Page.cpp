#include "format/Page.h"

#include <algorithm>

#include "format/Checksum.h"

namespace pastille::format {
namespace {

void StoreKey(const VariantLayout& layout, std::span<std::byte> into, std::size_t offset, std::uint64_t value)
{
    if (layout.wide)
        StoreLE<std::uint64_t>(into, offset, value);
    else
        StoreLE<std::uint32_t>(into, offset, static_cast<std::uint32_t>(value));
}

void StoreCount(const VariantLayout& layout, std::span<std::byte> page, std::size_t offset, std::size_t count)
{
    if (layout.countWidth == 2)
        StoreLE<std::uint16_t>(page, offset, static_cast<std::uint16_t>(count));
    else
        StoreLE<std::uint8_t>(page, offset, static_cast<std::uint8_t>(count));
}

std::size_t LoadCount(const VariantLayout& layout, CByteView page, std::size_t offset)
{
    return layout.countWidth == 2 ? page.ReadOrZero<std::uint16_t>(offset)
                                  : page.ReadOrZero<std::uint8_t>(offset);
}

}  // namespace

void EncodePageTrailer(const VariantLayout& layout, std::span<std::byte> page, PageType type,
                       std::uint64_t fileOffset, std::uint64_t bid)
{
    const auto typeByte = static_cast<std::uint8_t>(type);
    const bool isMap = IsMapPage(type);
    std::ranges::fill(page.subspan(layout.typeOffset), std::byte{0});
    StoreLE<std::uint8_t>(page, layout.typeOffset, typeByte);
    StoreLE<std::uint8_t>(page, layout.typeOffset + 1, typeByte);
    StoreLE<std::uint16_t>(page, layout.signatureOffset, isMap ? 0 : ComputeSignature(fileOffset, bid));
    StoreLE<std::uint32_t>(page, layout.pageCrcOffset, ComputeCrc(page.first(layout.typeOffset)));
    StoreKey(layout, page, layout.pageBidOffset, isMap ? fileOffset : bid);
}

std::optional<CheckedPageTrailer> ParsePageTrailer(const VariantLayout& layout, CByteView page,
                                                   std::uint64_t fileOffset)
{
    if (page.Size() != layout.pageSize)
        return std::nullopt;
    const auto type = page.ReadOrZero<std::uint8_t>(layout.typeOffset);
    if (type < 0x80 || type > 0x86 || page.ReadOrZero<std::uint8_t>(layout.typeOffset + 1) != type)
        return std::nullopt;
    const PageTrailer trailer{static_cast<PageType>(type),
                              page.ReadOrZero<std::uint16_t>(layout.signatureOffset),
                              page.ReadOrZero<std::uint32_t>(layout.pageCrcOffset),
                              page.ReadKey(layout.pageBidOffset, layout.keyWidth).value_or(0)};
    std::uint8_t faults = kPageSound;
    if (trailer.crc != ComputeCrc(page.Bytes().first(layout.typeOffset)))
        faults |= kPageBadCrc;
    const std::uint16_t expected = IsMapPage(trailer.type) ? 0 : ComputeSignature(fileOffset, trailer.bid);
    if (trailer.signature != expected)
        faults |= kPageBadSignature;
    return CheckedPageTrailer{trailer, faults};
}

void EncodeNodeEntry(const VariantLayout& layout, const NodeEntry& entry, std::span<std::byte> into)
{
    const std::size_t width = layout.keyWidth;
    std::ranges::fill(into.first(layout.nodeEntrySize), std::byte{0});
    StoreKey(layout, into, 0, entry.nid);
    StoreKey(layout, into, width, entry.bidData);
    StoreKey(layout, into, 2 * width, entry.bidSub);
    StoreLE<std::uint32_t>(into, 3 * width, entry.nidParent);
}

void EncodeBlockEntry(const VariantLayout& layout, const BlockEntry& entry, std::span<std::byte> into)
{
    const std::size_t width = layout.keyWidth;
    std::ranges::fill(into.first(layout.blockEntrySize), std::byte{0});
    StoreKey(layout, into, 0, entry.reference.bid);
    StoreKey(layout, into, width, entry.reference.offset);
    StoreLE<std::uint16_t>(into, 2 * width, entry.size);
    if (layout.variant == Variant::Unicode4k) {
        StoreLE<std::uint16_t>(into, 18, entry.inflatedSize == 0 ? entry.size : entry.inflatedSize);
        StoreLE<std::uint16_t>(into, 20, entry.references);
    } else {
        StoreLE<std::uint16_t>(into, 2 * width + 2, entry.references);
    }
}

void EncodeIndexEntry(const VariantLayout& layout, const IndexEntry& entry, std::span<std::byte> into)
{
    const std::size_t width = layout.keyWidth;
    std::ranges::fill(into.first(layout.blockEntrySize), std::byte{0});
    StoreKey(layout, into, 0, entry.key);
    StoreKey(layout, into, width, entry.child.bid);
    StoreKey(layout, into, 2 * width, entry.child.offset);
}

std::optional<NodeEntry> DecodeNodeEntry(const VariantLayout& layout, CByteView bytes)
{
    const std::size_t width = layout.keyWidth;
    if (!bytes.Holds(0, 3 * width + 4))
        return std::nullopt;
    return NodeEntry{*bytes.ReadKey(0, width), *bytes.ReadKey(width, width), *bytes.ReadKey(2 * width, width),
                     bytes.ReadOrZero<std::uint32_t>(3 * width)};
}

std::optional<BlockEntry> DecodeBlockEntry(const VariantLayout& layout, CByteView bytes)
{
    const std::size_t width = layout.keyWidth;
    const bool is4k = layout.variant == Variant::Unicode4k;
    if (!bytes.Holds(0, 2 * width + (is4k ? 6 : 4)))
        return std::nullopt;
    BlockEntry entry{{*bytes.ReadKey(0, width), *bytes.ReadKey(width, width)},
                     bytes.ReadOrZero<std::uint16_t>(2 * width)};
    entry.inflatedSize = is4k ? bytes.ReadOrZero<std::uint16_t>(18) : entry.size;
    entry.references = bytes.ReadOrZero<std::uint16_t>(is4k ? 20 : 2 * width + 2);
    return entry;
}

std::optional<IndexEntry> DecodeIndexEntry(const VariantLayout& layout, CByteView bytes)
{
    const std::size_t width = layout.keyWidth;
    if (!bytes.Holds(0, 3 * width))
        return std::nullopt;
    return IndexEntry{*bytes.ReadKey(0, width),
                      {*bytes.ReadKey(width, width), *bytes.ReadKey(2 * width, width)}};
}

void EncodeTreePage(const VariantLayout& layout, std::span<std::byte> page, PageType tree, unsigned level,
                    std::size_t count, std::uint64_t fileOffset, std::uint64_t bid)
{
    const std::size_t entrySize = TreeEntrySize(layout, tree, level);
    std::ranges::fill(page.subspan(count * entrySize), std::byte{0});
    StoreCount(layout, page, layout.countOffset, count);
    StoreCount(layout, page, layout.maximumCountOffset, TreePageCapacity(layout, entrySize));
    StoreLE<std::uint8_t>(page, layout.entrySizeOffset, static_cast<std::uint8_t>(entrySize));
    StoreLE<std::uint8_t>(page, layout.entrySizeOffset + 1, static_cast<std::uint8_t>(level));
    EncodePageTrailer(layout, page, tree, fileOffset, bid);
}

Result<CTreePage> CTreePage::Parse(const VariantLayout& layout, CByteView page)
{
    if (page.Size() != layout.pageSize)
        return Fault{"BTPAGE", "size", page.Size()};
    CTreePage view(layout, page);
    const auto type = page.ReadOrZero<std::uint8_t>(layout.typeOffset);
    if (type != static_cast<std::uint8_t>(PageType::BlockTree) &&
        type != static_cast<std::uint8_t>(PageType::NodeTree))
        return Fault{"BTPAGE", "ptype", type, layout.typeOffset};
    view.m_tree = static_cast<PageType>(type);
    view.m_count = LoadCount(layout, page, layout.countOffset);
    view.m_maximumCount = LoadCount(layout, page, layout.maximumCountOffset);
    view.m_entrySize = page.ReadOrZero<std::uint8_t>(layout.entrySizeOffset);
    view.m_level = page.ReadOrZero<std::uint8_t>(layout.entrySizeOffset + 1);
    if (view.m_entrySize < TreeEntrySize(layout, view.m_tree, view.m_level))
        return Fault{"BTPAGE", "cbEnt", view.m_entrySize, layout.entrySizeOffset};
    if (view.m_count > TreePageCapacity(layout, view.m_entrySize))
        return Fault{"BTPAGE", "cEnt", view.m_count, layout.countOffset};
    return view;
}

CByteView CTreePage::EntryAt(std::size_t index) const
{
    return m_page.Sub(index * m_entrySize, m_entrySize).value_or(CByteView());
}

NodeEntry CTreePage::NodeAt(std::size_t index) const
{
    return DecodeNodeEntry(*m_layout, EntryAt(index)).value_or(NodeEntry());
}

BlockEntry CTreePage::BlockAt(std::size_t index) const
{
    return DecodeBlockEntry(*m_layout, EntryAt(index)).value_or(BlockEntry());
}

IndexEntry CTreePage::ChildAt(std::size_t index) const
{
    return DecodeIndexEntry(*m_layout, EntryAt(index)).value_or(IndexEntry());
}

std::uint64_t CTreePage::KeyAt(std::size_t index) const
{
    const std::uint64_t key = EntryAt(index).ReadKey(0, m_layout->keyWidth).value_or(0);
    return m_tree == PageType::NodeTree ? key & 0xFFFFFFFF : key & ~std::uint64_t{1};
}

}  // namespace pastille::format
