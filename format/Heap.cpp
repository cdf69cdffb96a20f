#include "format/Heap.h"

namespace pastille::format {
namespace {

constexpr std::size_t kPageMapHeader = 4;  ///< cAlloc and cFree

/// A HID of a 4 KB file keeps its block index from bit 19 on and has room for wider item indexes.
constexpr unsigned BlockIndexShift(const VariantLayout& layout)
{
    return layout.variant == Variant::Unicode4k ? 19 : 16;
}

}  // namespace

std::uint8_t HeapFillLevel(std::size_t freeBytes)
{
    constexpr std::array<std::size_t, 15> kLowerBounds = {3584, 2560, 2048, 1792, 1536, 1280, 1024, 768,
                                                          512,  256,  128,  64,   32,   16,   8};
    std::uint8_t level = 0;
    while (level < kLowerBounds.size() && freeBytes < kLowerBounds[level])
        ++level;
    return level;
}

Result<CHeapBlockView> CHeapBlockView::Parse(CByteView block, std::size_t blockIndex)
{
    CHeapBlockView view;
    view.m_block = block;
    view.m_headerSize = HeapHeaderSize(blockIndex);
    view.m_pageMap = block.ReadOrZero<std::uint16_t>(0);
    const char* const name = blockIndex == 0 ? "HNHDR" : "HNPAGEHDR";
    if (!block.Holds(0, view.m_headerSize))
        return Fault{name, "size", block.Size(), 0};
    if (view.m_pageMap < view.m_headerSize || !block.Holds(view.m_pageMap, kPageMapHeader))
        return Fault{name, "ibHnpm", view.m_pageMap, 0};
    view.m_count = block.ReadOrZero<std::uint16_t>(view.m_pageMap);
    view.m_freeCount = block.ReadOrZero<std::uint16_t>(view.m_pageMap + 2);
    if (!block.Holds(view.m_pageMap + kPageMapHeader, 2 * (view.m_count + 1)))
        return Fault{"HNPAGEMAP", "cAlloc", view.m_count, view.m_pageMap};
    return view;
}

std::optional<CByteView> CHeapBlockView::Item(std::size_t index) const
{
    if (index == 0 || index > m_count)
        return std::nullopt;
    const std::size_t place = m_pageMap + kPageMapHeader + 2 * (index - 1);
    const std::size_t begin = m_block.ReadOrZero<std::uint16_t>(place);
    const std::size_t end = m_block.ReadOrZero<std::uint16_t>(place + 2);
    if (begin < m_headerSize || end < begin || end > m_pageMap)
        return std::nullopt;
    return m_block.Sub(begin, end - begin);
}

std::optional<Fault> CHeapBlockView::FindFault(std::size_t blockIndex) const
{
    if (blockIndex == 0 && Signature() != kHeapSignature)
        return Fault{"HNHDR", "bSig", Signature(), 2};
    if (m_pageMap % 2 != 0)
        return Fault{"HNHDR", "ibHnpm", m_pageMap, 0};
    std::size_t end = m_block.ReadOrZero<std::uint16_t>(m_pageMap + kPageMapHeader);
    std::size_t empty = 0;
    if (end != m_headerSize)
        return Fault{"HNPAGEMAP", "rgibAlloc", end, m_pageMap + kPageMapHeader};
    for (std::size_t index = 1; index <= m_count; ++index) {
        const auto item = Item(index);
        if (!item || item->Size() > kLargestHeapItem)
            return Fault{"HNPAGEMAP", "rgibAlloc", index, m_pageMap + kPageMapHeader + 2 * index};
        empty += item->Size() == 0 ? 1 : 0;
        end += item->Size();
    }
    if (m_pageMap - end > 1)
        return Fault{"HNPAGEMAP", "rgibAlloc", end, m_pageMap};
    if (empty != m_freeCount)
        return Fault{"HNPAGEMAP", "cFree", m_freeCount, m_pageMap + 2};
    return std::nullopt;
}

Result<CHeapView> CHeapView::Open(const VariantLayout& layout, IBlockSequence& blocks)
{
    const SharedBytes bytes = blocks.BlockCount() == 0 ? nullptr : blocks.BlockAt(0);
    if (!bytes)
        return Fault{"HNHDR", "block", 0, 0};
    const auto block = CHeapBlockView::Parse(CByteView(*bytes), 0);
    if (!block)
        return block.GetFault();
    if (block->Signature() != kHeapSignature)
        return Fault{"HNHDR", "bSig", block->Signature(), 2};
    CHeapView heap;
    heap.m_layout = &layout;
    heap.m_blocks = &blocks;
    heap.m_clientSignature = block->ClientSignature();
    heap.m_userRoot = block->UserRoot();
    return heap;
}

Result<HeldBytes> CHeapView::Item(std::uint32_t hid) const
{
    HeapPlace place;
    return Item(hid, place);
}

Result<HeldBytes> CHeapView::Item(std::uint32_t hid, HeapPlace& place) const
{
    const Fault fault{"HID", "value", hid, 0};
    const unsigned shift = BlockIndexShift(*m_layout);
    const std::size_t blockIndex = hid >> shift;
    if (hid == 0 || !IsHeapId(hid) || blockIndex >= m_blocks->BlockCount())
        return fault;
    HeldBytes held{m_blocks->BlockAt(blockIndex), {}};
    if (!held.owner)
        return fault;
    const auto block = CHeapBlockView::Parse(CByteView(*held.owner), blockIndex);
    if (!block)
        return block.GetFault();
    std::size_t index = (hid & ((std::uint32_t{1} << shift) - 1)) >> 5;
    // Published descriptions of 4 KB files differ on the width of the index: 14 bits or 11.
    if (index > block->Count())
        index &= kMostHeapItems;
    const auto item = block->Item(index);
    if (!item)
        return fault;
    held.view = *item;
    place = {blockIndex, index};
    return held;
}

}  // namespace pastille::format
