#include "component/pst/ltp/HeapWriter.h"

#include <algorithm>
#include <stdexcept>

#include "format/Bth.h"
#include "format/Bytes.h"

namespace pastille::component::pst {
namespace {

constexpr std::size_t kFullBlock = format::kUnicodeLayout.largestBlock;
constexpr std::size_t kMostBlocks = 65536;         ///< that the 16 bits of a HID can number
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
    : m_clientSignature(clientSignature), m_current(MakeBlock(0)), m_blocks(1)
{
}

CHeapWriter::OpenBlock CHeapWriter::MakeBlock(std::size_t index)
{
    OpenBlock block;
    block.index = index;
    block.bytes.resize(format::HeapHeaderSize(index));
    return block;
}

std::size_t CHeapWriter::FreeBytes(const OpenBlock& block) const
{
    return kFullBlock - std::min(kFullBlock, EndOfPageMap(block.bytes.size(), block.ends.size()));
}

format::HeapId CHeapWriter::Add(CNdbWriter& writer, std::span<const std::byte> bytes)
{
    if (bytes.empty())
        return {};
    if (bytes.size() > format::kLargestHeapItem)
        throw std::length_error("a heap item has at most 3580 bytes");
    const std::size_t itemsEnd = m_current.bytes.size() + bytes.size();
    if (m_current.ends.size() == format::kMostHeapItems ||
        EndOfPageMap(itemsEnd, m_current.ends.size() + 1) > kFullBlock)
        CloseCurrent(writer);
    m_current.bytes.insert(m_current.bytes.end(), bytes.begin(), bytes.end());
    m_current.ends.push_back(static_cast<std::uint16_t>(m_current.bytes.size()));
    return format::HeapId::Make(m_current.index, m_current.ends.size());
}

/// Item number `index`, counted from 1. REQUIRES: the block has it.
std::span<const std::byte> CHeapWriter::ItemOf(const OpenBlock& block, std::size_t index)
{
    const std::size_t begin = index == 1 ? format::HeapHeaderSize(block.index) : block.ends[index - 2];
    return std::span(block.bytes).subspan(begin, block.ends[index - 1] - begin);
}

std::optional<std::span<const std::byte>> CHeapWriter::FindItem(format::HeapId id) const
{
    const std::size_t blockIndex = id.value >> 16;
    const std::size_t index = (id.value & 0xFFFF) >> 5;
    const OpenBlock* const block = blockIndex == m_current.index ? &m_current
                                   : m_first && blockIndex == 0  ? &*m_first
                                                                 : nullptr;
    if (block == nullptr || index == 0 || index > block->ends.size())
        return std::nullopt;
    return ItemOf(*block, index);
}

std::span<std::byte> CHeapWriter::ItemOfFirstBlock(format::HeapId id)
{
    OpenBlock& first = m_first ? *m_first : m_current;
    const std::size_t index = id.value >> 5;
    if (id.value >> 16 != 0 || index == 0 || index > first.ends.size())
        throw std::logic_error("no item of the heap's first block");
    const auto item = ItemOf(first, index);
    return std::span(first.bytes)
        .subspan(static_cast<std::size_t>(item.data() - first.bytes.data()), item.size());
}

/// Sets the current block aside and begins the next. A block whose header tells of later blocks stays in
/// memory until they are complete.
void CHeapWriter::CloseCurrent(CNdbWriter& writer)
{
    if (m_blocks.size() == kMostBlocks)
        throw std::length_error("a heap has at most 65536 blocks");
    const std::size_t index = m_current.index;
    m_blocks[index].fillLevel = format::HeapFillLevel(FreeBytes(m_current));
    OpenBlock closed = std::exchange(m_current, MakeBlock(index + 1));
    if (index == 0)
        m_first = std::move(closed);
    else if (HasBitmapHeader(index))
        m_bitmap = std::move(closed);
    else
        m_blocks[index].bid = WriteBlock(writer, closed, false).value;
    // The next bitmap block ends the range of the one before it.
    if (m_bitmap && m_bitmap->index + kFillLevelsOfBitmap == index + 1) {
        m_blocks[m_bitmap->index].bid = WriteBlock(writer, *m_bitmap, false).value;
        m_bitmap.reset();
    }
    m_blocks.emplace_back();
}

std::vector<std::byte> CHeapWriter::Encode(const OpenBlock& block, bool isLast) const
{
    const std::size_t itemsEnd = block.bytes.size();
    const std::size_t pageMap = itemsEnd + itemsEnd % 2;
    const std::size_t end = EndOfPageMap(itemsEnd, block.ends.size());
    std::vector<std::byte> bytes = block.bytes;
    bytes.resize(isLast ? end : kFullBlock);
    format::StoreLE<std::uint16_t>(bytes, 0, static_cast<std::uint16_t>(pageMap));
    format::StoreLE<std::uint16_t>(bytes, pageMap, static_cast<std::uint16_t>(block.ends.size()));
    std::size_t place = pageMap + 4;
    format::StoreLE<std::uint16_t>(bytes, place,
                                   static_cast<std::uint16_t>(format::HeapHeaderSize(block.index)));
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
    for (std::size_t i = 0; i < count && block.index + i < m_blocks.size(); ++i)
        bytes[levels + i / 2] |= static_cast<std::byte>(m_blocks[block.index + i].fillLevel << (i % 2 * 4));
    return bytes;
}

format::Bid CHeapWriter::WriteBlock(CNdbWriter& writer, const OpenBlock& block, bool isLast) const
{
    return writer.AddDataBlock(Encode(block, isLast));
}

format::Bid CHeapWriter::Finish(CNdbWriter& writer)
{
    m_blocks.back().fillLevel = format::HeapFillLevel(FreeBytes(m_current));
    const std::vector<std::byte> last = Encode(m_current, true);
    if (m_first)
        m_blocks.front().bid = WriteBlock(writer, *m_first, false).value;
    if (m_bitmap)
        m_blocks[m_bitmap->index].bid = WriteBlock(writer, *m_bitmap, false).value;
    CDataTreeWriter tree(writer);
    for (std::size_t i = 0; i + 1 < m_blocks.size(); ++i)
        tree.AppendExistingBlock({m_blocks[i].bid}, kFullBlock);
    tree.AppendWholeBlock(last);
    m_size = tree.Size();
    return tree.Finish();
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

void WriteBth(CNdbWriter& writer, CHeapWriter& heap, format::HeapId header, std::size_t keySize,
              std::size_t dataSize, std::span<const std::byte> records)
{
    unsigned levels = 0;
    format::HeapId root;
    if (!records.empty()) {
        const std::size_t indexSize = keySize + kHidSize;
        std::vector<std::byte> index = WriteBthLevel(writer, heap, keySize, keySize + dataSize, records);
        for (; index.size() > indexSize; ++levels)
            index = WriteBthLevel(writer, heap, keySize, indexSize, index);
        root.value = format::LoadLE<std::uint32_t>(index, keySize);
    }
    EncodeBthHeader(heap.ItemOfFirstBlock(header), keySize, dataSize, levels, root);
}

}  // namespace pastille::component::pst
