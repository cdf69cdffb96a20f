#include "check/HeapNode.h"

#include <algorithm>

#include "check/LtpRules.h"
#include "format/Ids.h"

namespace pastille::check {
namespace {

using format::CHeapBlockView;

constexpr std::size_t kPageMapHeader = 4;
constexpr std::size_t kMostBlocks = 65536;        ///< that a HID can name
constexpr std::size_t kFillLevelsOfFirst = 8;     ///< nibbles in HNHDR
constexpr std::size_t kFillLevelsOfBitmap = 128;  ///< nibbles in HNBITMAPHDR

std::string BlockName(std::size_t index)
{
    return "heap block " + std::to_string(index);
}

/// The nibbles of `count` fill levels at `offset`, the first in the low half of the first byte.
void AppendLevels(format::CByteView block, std::size_t offset, std::size_t count,
                  std::vector<std::uint8_t>& levels)
{
    for (std::size_t i = 0; i < count; ++i) {
        const auto pair = block.ReadOrZero<std::uint8_t>(offset + i / 2);
        levels.push_back(static_cast<std::uint8_t>(i % 2 == 0 ? pair & 15 : pair >> 4));
    }
}

/// Subnodes that the public document does not describe, tables of changes among them: clients find them by
/// their types.
bool IsUndocumented(std::uint32_t nid)
{
    const std::uint32_t type = nid & 0x1F;
    return type == static_cast<std::uint32_t>(format::NidType::Internal) || (type >= 0x16 && type <= 0x19);
}

}  // namespace

format::SharedBytes CHeapNode::CBlocks::BlockAt(std::size_t index)
{
    if (index >= BlockCount())
        return nullptr;
    Kept& kept = m_kept[index % kKept];
    if (!kept.bytes || kept.index != index)
        kept = {index, m_tree->BlockAt(index)};
    return kept.bytes;
}

CHeapNode::CHeapNode(CMessagingRun& run, const Place& place, std::uint64_t bidData, std::uint64_t bidSub)
    : m_run(run), m_place(place), m_isFirstVisit(run.IsFirstVisit(bidData) && run.IsFirstVisit(bidSub))
{
    if (!m_isFirstVisit)
        return;
    m_blocks.Read(run.Database().OpenData(bidData));
    if (bidSub != 0)
        m_subnodes = run.Database().Subnodes(bidSub);
    m_isWhole = (bidData == 0 || m_blocks.BlockCount() != 0) && (bidSub == 0 || !m_subnodes.empty());
    for (const CDatabase::Subnode& subnode : m_subnodes)
        m_usedSubnodes.push_back(IsUndocumented(subnode.nid));
}

bool CHeapNode::Open(std::uint8_t clientSignature)
{
    if (!m_isFirstVisit) {
        Note(rules::kTreeShared);
        return false;
    }
    if (m_blocks.BlockCount() != 0 && !m_blocks.BlockAt(0))
        m_isWhole = false;
    if (!m_isWhole && !m_blocks.BlockAt(0))
        return false;
    const auto heap = format::CHeapView::Open(m_run.Layout(), m_blocks);
    if (!heap || m_blocks.BlockCount() > kMostBlocks) {
        Note(rules::kHeapBlock, {},
             heap ? std::to_string(m_blocks.BlockCount()) + " blocks" : Describe(heap.GetFault()));
        return false;
    }
    m_heap = *heap;
    for (std::size_t i = 0; i < m_blocks.BlockCount(); ++i) {
        m_firstItem.push_back(m_usedItems.size());
        if (const auto bytes = m_blocks.BlockAt(i))
            CheckBlock(i, *bytes);
        else
            m_isWhole = false;
    }
    if (m_isWhole)
        CheckFillLevels();
    if (m_heap.ClientSignature() == clientSignature)
        return true;
    Note(rules::kHeapClient, {}, Instead(m_heap.ClientSignature(), clientSignature));
    return false;
}

void CHeapNode::CheckBlock(std::size_t index, std::span<const std::byte> bytes)
{
    const format::CByteView view(bytes);
    const auto block = CHeapBlockView::Parse(view, index);
    if (!block) {
        Note(rules::kHeapBlock, BlockName(index), Describe(block.GetFault()));
        m_fillLevels.push_back(0);
        return;
    }
    if (index == 0)
        AppendLevels(view, 8, kFillLevelsOfFirst, m_statedLevels);
    else if (format::HeapHeaderSize(index) == format::HeapHeaderSize(kFillLevelsOfFirst))
        AppendLevels(view, 2, kFillLevelsOfBitmap, m_statedLevels);
    CheckItems(index, *block, view);
    const std::size_t end = block->PageMapOffset() + kPageMapHeader + 2 * (block->Count() + 1);
    const std::size_t capacity = m_run.Layout().largestBlock;
    m_fillLevels.push_back(format::HeapFillLevel(capacity > end ? capacity - end : 0));
    if (index + 1 == m_blocks.BlockCount() && end != bytes.size())
        Note(rules::kHeapEnd, BlockName(index), Instead(bytes.size(), end));
}

void CHeapNode::CheckItems(std::size_t index, const CHeapBlockView& block, format::CByteView bytes)
{
    const std::size_t map = block.PageMapOffset() + kPageMapHeader;
    std::size_t end = bytes.ReadOrZero<std::uint16_t>(map);
    std::size_t empty = 0;
    bool isRising = end == format::HeapHeaderSize(index);
    std::size_t longest = 0;
    for (std::size_t i = 1; i <= block.Count(); ++i) {
        const auto item = block.Item(i);
        isRising = isRising && item;
        const std::size_t size = item ? item->Size() : 0;
        empty += item && size == 0 ? 1 : 0;
        longest = std::max(longest, size);
        end += size;
        m_usedItems.push_back(size == 0);
    }
    if (!isRising || block.PageMapOffset() % 2 != 0 || block.PageMapOffset() - end > 1)
        Note(rules::kHeapPageMap, BlockName(index), "ibHnpm " + Hex(block.PageMapOffset()));
    else if (empty != block.FreeCount())
        Note(rules::kHeapFreeCount, BlockName(index), Instead(block.FreeCount(), empty));
    if (longest > format::kLargestHeapItem)
        Note(rules::kHeapItemSize, BlockName(index), std::to_string(longest) + " bytes");
    // How many bits of a HID hold the index in 4 KB files is not published in one voice.
    if (block.Count() > format::kMostHeapItems && m_run.Layout().variant != format::Variant::Unicode4k)
        Note(rules::kHeapItemCount, BlockName(index), std::to_string(block.Count()));
}

void CHeapNode::CheckFillLevels()
{
    // In 4 KB files nothing tells what the levels count from.
    if (m_run.Layout().variant == format::Variant::Unicode4k)
        return;
    for (std::size_t i = 0; i < m_fillLevels.size() && i < m_statedLevels.size(); ++i) {
        if (m_statedLevels[i] == m_fillLevels[i])
            continue;
        Note(rules::kHeapFillLevel, BlockName(i), Instead(m_statedLevels[i], m_fillLevels[i]));
        return;
    }
}

std::optional<format::HeldBytes> CHeapNode::TakeItem(std::uint32_t hid)
{
    format::HeapPlace place;
    auto item = m_heap.Item(hid, place);
    if (!item)
        return std::nullopt;
    const std::size_t number = m_firstItem[place.block] + place.index - 1;
    if (item->view.Size() != 0 && number < m_usedItems.size()) {
        if (m_usedItems[number])
            NoteAstray(rules::kHeapItemShared, {}, "HID " + Hex(hid));
        m_usedItems[number] = true;
    }
    return std::move(*item);
}

std::optional<StoredBytes> CHeapNode::Take(std::uint32_t hnid)
{
    if (hnid == 0)
        return StoredBytes{};
    StoredBytes stored;
    if (format::IsHeapId(hnid)) {
        auto item = TakeItem(hnid);
        if (!item)
            return std::nullopt;
        stored.size = item->view.Size();
        stored.isInHeap = true;
        stored.held = std::move(*item);
        return stored;
    }
    const CDatabase::Subnode* const subnode = FindSubnode(hnid);
    if (subnode == nullptr)
        return std::nullopt;
    UseSubnode(*subnode);
    const auto size = m_run.DataSize(subnode->data);
    stored.isUnreadable = !size;
    stored.size = size.value_or(0);
    stored.isInSubnode = size.has_value();
    stored.dataBid = subnode->data;
    return stored;
}

const CDatabase::Subnode* CHeapNode::FindSubnode(std::uint32_t nid) const
{
    const auto at = std::ranges::lower_bound(m_subnodes, nid, {}, &CDatabase::Subnode::nid);
    return at == m_subnodes.end() || at->nid != nid ? nullptr : &*at;
}

void CHeapNode::UseSubnode(const CDatabase::Subnode& subnode)
{
    m_usedSubnodes[static_cast<std::size_t>(&subnode - m_subnodes.data())] = true;
}

void CHeapNode::ReportUnused() const
{
    if (!m_isWhole || m_hasAstray)
        return;
    const auto items = std::ranges::count(m_usedItems, false);
    if (items != 0)
        Note(rules::kHeapItemUnused, {}, std::to_string(items) + " allocations");
    const auto unused = std::ranges::find(m_usedSubnodes, false);
    if (unused != m_usedSubnodes.end()) {
        const auto index = static_cast<std::size_t>(unused - m_usedSubnodes.begin());
        const auto count = std::ranges::count(m_usedSubnodes, false);
        Note(rules::kSubnodeUnused, "subnode " + Hex(m_subnodes[index].nid),
             count > 1 ? std::to_string(count) + " of them" : std::string());
    }
}

}  // namespace pastille::check
