#include "component/pst/ltp/HeapWriter.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "component/pst/ndb/FormatError.h"
#include "component/pst/ndb/NewStoreLayout.h"
#include "format/Bth.h"
#include "format/Bytes.h"

namespace pastille::component::pst {
namespace {

constexpr std::size_t kFirstFillLevelOffset = 8;   ///< in HNHDR
constexpr std::size_t kBitmapFillLevelOffset = 2;  ///< in HNBITMAPHDR
constexpr std::size_t kFillLevelsOfFirst = 8;
constexpr std::size_t kFillLevelsOfBitmap = 128;

bool HasBitmapHeader(std::size_t blockIndex)
{
    return blockIndex % 128 == 8;
}

/// Bytes that a block takes up to the end of its page map.
std::size_t EndOfPageMap(std::size_t itemsEnd, std::size_t itemCount)
{
    return itemsEnd + itemsEnd % 2 + 4 + 2 * (itemCount + 1);
}

}  // namespace

CHeapWriter::CHeapWriter(std::uint8_t clientSignature)
    : m_clientSignature(clientSignature), m_current(MakeBlock(0)), m_fillLevels(1)
{
}

CHeapWriter::OpenBlock CHeapWriter::MakeBlock(std::size_t index)
{
    OpenBlock block;
    block.index = index;
    block.begin = format::HeapHeaderSize(index);
    return block;
}

/// Brings the items of a parked block into memory.
void CHeapWriter::Load(CNdbWriter& writer, OpenBlock& block)
{
    if (block.parked.value == 0)
        return;
    const format::SharedBytes stored = writer.ReadBlock(block.parked);
    const auto view = Require(format::CHeapBlockView::Parse(format::CByteView(*stored), block.index));
    OpenBlock whole = MakeBlock(block.index);
    whole.bytes.reserve(block.End());
    for (std::size_t i = 1; i <= block.parkedItems; ++i) {
        const auto item = view.Item(i);
        if (!item)
            throw CFormatError({"HNPAGEMAP", "rgibAlloc", i, block.parked.value});
        whole.bytes.insert(whole.bytes.end(), item->Bytes().begin(), item->Bytes().end());
        whole.ends.push_back(static_cast<std::uint16_t>(whole.End()));
    }
    if (whole.End() != block.begin)
        throw CFormatError({"HNPAGEMAP", "rgibAlloc", whole.End(), block.parked.value});
    whole.bytes.insert(whole.bytes.end(), block.bytes.begin(), block.bytes.end());
    whole.ends.insert(whole.ends.end(), block.ends.begin(), block.ends.end());
    block = std::move(whole);
}

/// Frees the memory of a block whose items are the first ones of the block `bid` of the file.
void CHeapWriter::Park(OpenBlock& block, format::Bid bid)
{
    block.parked = bid;
    block.parkedItems = block.Count();
    block.begin = block.End();
    std::vector<std::byte>().swap(block.bytes);
    std::vector<std::uint16_t>().swap(block.ends);
}

void CHeapWriter::Park(const CHeapWriter& finished)
{
    for (OpenBlock* block : {&m_current, m_first ? &*m_first : nullptr, m_bitmap ? &*m_bitmap : nullptr})
        if (block != nullptr)
            Park(*block, finished.BlockOf(format::HeapId::Make(block->index, 1)));
    m_tree.TakeIndexes(finished.m_tree);
}

format::Bid CHeapWriter::BlockOf(format::HeapId id) const
{
    const std::size_t index = id.value >> 16;
    return index < m_tree.Count() ? m_tree.At(index) : m_last;
}

std::size_t CHeapWriter::FreeBytes(const OpenBlock& block) const
{
    return kFullBlock - std::min(kFullBlock, EndOfPageMap(block.End(), block.Count()));
}

format::HeapId CHeapWriter::Add(CNdbWriter& writer, std::span<const std::byte> bytes)
{
    if (bytes.empty())
        return {};
    if (bytes.size() > format::kLargestHeapItem)
        throw std::length_error("a heap item has at most 3580 bytes");
    if (m_current.Count() == format::kMostHeapItems ||
        EndOfPageMap(m_current.End() + bytes.size(), m_current.Count() + 1) > kFullBlock)
        CloseCurrent(writer);
    m_current.bytes.insert(m_current.bytes.end(), bytes.begin(), bytes.end());
    m_current.ends.push_back(static_cast<std::uint16_t>(m_current.End()));
    return format::HeapId::Make(m_current.index, m_current.Count());
}

/// Item number `index` of those in memory, counted from 1, or nothing.
std::span<const std::byte> CHeapWriter::ItemOf(const OpenBlock& block, std::size_t index)
{
    if (index == 0 || index > block.ends.size())
        return {};
    const std::size_t begin = index == 1 ? block.begin : block.ends[index - 2];
    return std::span(block.bytes).subspan(begin - block.begin, block.ends[index - 1] - begin);
}

const CHeapWriter::OpenBlock* CHeapWriter::FindOpen(std::size_t index) const
{
    if (index == m_current.index)
        return &m_current;
    if (m_first && index == 0)
        return &*m_first;
    return m_bitmap && index == m_bitmap->index ? &*m_bitmap : nullptr;
}

std::vector<std::byte> CHeapWriter::Item(CNdbWriter& writer, format::HeapId id) const
{
    const std::size_t blockIndex = id.value >> 16;
    const std::size_t index = (id.value & 0xFFFF) >> 5;
    const OpenBlock* const open = FindOpen(blockIndex);
    if (open != nullptr && index > open->parkedItems) {
        const auto item = ItemOf(*open, index - open->parkedItems);
        return {item.begin(), item.end()};
    }
    const format::SharedBytes stored = writer.ReadBlock(open != nullptr ? open->parked : BlockOf(id));
    const auto view = Require(format::CHeapBlockView::Parse(format::CByteView(*stored), blockIndex));
    const auto item = view.Item(index);
    if (!item)
        throw std::logic_error("no item of the heap");
    return {item->Bytes().begin(), item->Bytes().end()};
}

std::span<std::byte> CHeapWriter::ItemOfFirstBlock(CNdbWriter& writer, format::HeapId id)
{
    OpenBlock& first = m_first ? *m_first : m_current;
    Load(writer, first);
    const auto item = ItemOf(first, id.value >> 5);
    if (id.value >> 16 != 0 || item.empty())
        throw std::logic_error("no item of the heap's first block");
    return std::span(first.bytes)
        .subspan(static_cast<std::size_t>(item.data() - first.bytes.data()), item.size());
}

/// Sets the current block aside and begins the next. A block whose header tells of later blocks stays open
/// until they are complete.
void CHeapWriter::CloseCurrent(CNdbWriter& writer)
{
    if (m_fillLevels.size() == kMostBlocks)
        throw std::length_error("a heap has at most 65536 blocks");
    const std::size_t index = m_current.index;
    m_fillLevels[index] = format::HeapFillLevel(FreeBytes(m_current));
    OpenBlock closed = std::exchange(m_current, MakeBlock(index + 1));
    m_tree.Append();
    if (index == 0)
        m_first = std::move(closed);
    else if (HasBitmapHeader(index))
        m_bitmap = std::move(closed);
    else
        m_tree.Set(index, WriteBlock(writer, closed, false));
    // The next bitmap block ends the range of the one before it.
    if (m_bitmap && m_bitmap->index + kFillLevelsOfBitmap == index + 1) {
        m_tree.Set(m_bitmap->index, WriteBlock(writer, *m_bitmap, false));
        m_bitmap.reset();
    }
    m_fillLevels.emplace_back();
}

/// REQUIRES: the block is not parked.
std::vector<std::byte> CHeapWriter::Encode(const OpenBlock& block, bool isLast) const
{
    const std::size_t itemsEnd = block.End();
    const std::size_t pageMap = itemsEnd + itemsEnd % 2;
    std::vector<std::byte> bytes(isLast ? EndOfPageMap(itemsEnd, block.ends.size()) : kFullBlock);
    std::ranges::copy(block.bytes, bytes.begin() + static_cast<std::ptrdiff_t>(block.begin));
    format::StoreLE<std::uint16_t>(bytes, 0, static_cast<std::uint16_t>(pageMap));
    format::StoreLE<std::uint16_t>(bytes, pageMap, static_cast<std::uint16_t>(block.ends.size()));
    std::size_t place = pageMap + 4;
    format::StoreLE<std::uint16_t>(bytes, place, static_cast<std::uint16_t>(block.begin));
    for (const std::uint16_t itemEnd : block.ends)
        format::StoreLE<std::uint16_t>(bytes, place += 2, itemEnd);
    if (block.index == 0) {
        format::StoreLE<std::uint8_t>(bytes, 2, format::kHeapSignature);
        format::StoreLE<std::uint8_t>(bytes, 3, m_clientSignature);
        format::StoreLE<std::uint32_t>(bytes, 4, m_userRoot.value);
    } else if (!HasBitmapHeader(block.index)) {
        return bytes;
    }
    const std::size_t levels = block.index == 0 ? kFirstFillLevelOffset : kBitmapFillLevelOffset;
    const std::size_t count = block.index == 0 ? kFillLevelsOfFirst : kFillLevelsOfBitmap;
    for (std::size_t i = 0; i < count && block.index + i < m_fillLevels.size(); ++i)
        bytes[levels + i / 2] |= static_cast<std::byte>(m_fillLevels[block.index + i] << (i % 2 * 4));
    return bytes;
}

format::Bid CHeapWriter::WriteBlock(CNdbWriter& writer, OpenBlock& block, bool isLast) const
{
    Load(writer, block);
    return writer.AddDataBlock(Encode(block, isLast));
}

format::Bid CHeapWriter::Finish(CNdbWriter& writer)
{
    m_fillLevels.back() = format::HeapFillLevel(FreeBytes(m_current));
    for (auto* block : {&m_first, &m_bitmap})
        if (*block)
            m_tree.Set((*block)->index, WriteBlock(writer, **block, false));
    m_last = WriteBlock(writer, m_current, true);
    const std::size_t lastSize = EndOfPageMap(m_current.End(), m_current.Count());
    m_size = m_tree.Count() * kFullBlock + lastSize;
    return m_tree.Finish(writer, m_last, lastSize);
}

std::size_t CHeapWriter::HeldBytes() const
{
    std::size_t held = m_tree.HeldBytes() + m_fillLevels.capacity();
    for (const OpenBlock* block :
         {&m_current, m_first ? &*m_first : nullptr, m_bitmap ? &*m_bitmap : nullptr})
        if (block != nullptr)
            held += block->bytes.capacity() + block->ends.capacity() * sizeof(std::uint16_t);
    return held;
}

namespace {

constexpr std::size_t kHidSize = 4;

/// Puts records into items of the greatest size that holds whole ones. Gives one index record per item.
std::vector<std::byte> WriteBthLevel(CNdbWriter& writer, CHeapWriter& heap, std::size_t keySize,
                                     std::size_t recordSize, std::span<const std::byte> records)
{
    const std::size_t itemSize = format::kLargestHeapItem / recordSize * recordSize;
    std::vector<std::byte> index;
    while (!records.empty()) {
        const auto item = records.first(std::min(itemSize, records.size()));
        const format::HeapId id = heap.Add(writer, item);
        index.insert(index.end(), item.begin(), item.begin() + static_cast<std::ptrdiff_t>(keySize));
        index.resize(index.size() + kHidSize);
        format::StoreLE<std::uint32_t>(index, index.size() - kHidSize, id.value);
        records = records.subspan(item.size());
    }
    return index;
}

}  // namespace

void EncodeBthHeader(std::span<std::byte> header, std::size_t keySize, std::size_t dataSize, unsigned levels,
                     format::HeapId root)
{
    format::StoreLE<std::uint8_t>(header, 0, format::kBthType);
    format::StoreLE<std::uint8_t>(header, 1, static_cast<std::uint8_t>(keySize));
    format::StoreLE<std::uint8_t>(header, 2, static_cast<std::uint8_t>(dataSize));
    format::StoreLE<std::uint8_t>(header, 3, static_cast<std::uint8_t>(levels));
    format::StoreLE<std::uint32_t>(header, 4, root.value);
}

std::vector<std::byte> WriteBthLeaves(CNdbWriter& writer, CHeapWriter& heap, std::size_t keySize,
                                      std::size_t dataSize, std::span<const std::byte> records)
{
    return WriteBthLevel(writer, heap, keySize, keySize + dataSize, records);
}

void WriteBthIndex(CNdbWriter& writer, CHeapWriter& heap, format::HeapId header, std::size_t keySize,
                   std::size_t dataSize, std::vector<std::byte> index)
{
    const std::size_t recordSize = keySize + kHidSize;
    unsigned levels = 0;
    for (; index.size() > recordSize; ++levels)
        index = WriteBthLevel(writer, heap, keySize, recordSize, index);
    const format::HeapId root{index.empty() ? 0 : format::LoadLE<std::uint32_t>(index, keySize)};
    EncodeBthHeader(heap.ItemOfFirstBlock(writer, header), keySize, dataSize, levels, root);
}

void WriteBth(CNdbWriter& writer, CHeapWriter& heap, format::HeapId header, std::size_t keySize,
              std::size_t dataSize, std::span<const std::byte> records)
{
    WriteBthIndex(writer, heap, header, keySize, dataSize,
                  WriteBthLeaves(writer, heap, keySize, dataSize, records));
}

}  // namespace pastille::component::pst
