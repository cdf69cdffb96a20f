#include "store/HeapBlock.h"

#include "format/WideText.h"
#include "platform/Text.h"
#include "store/DataTree.h"

namespace pastille::store {
namespace {

constexpr std::uint16_t kString = 0x001F;
constexpr std::uint16_t kString8 = 0x001E;
constexpr std::uint32_t kNidTypeMask = 0x1F;

}  // namespace

CHeapBlock::CHeapBlock(format::CByteView block, const format::VariantLayout& layout)
    : m_block(block), m_blockIndexShift(layout.variant == format::Variant::Unicode4k ? 19 : 16)
{
}

bool CHeapBlock::IsOwn(std::uint32_t hid) const
{
    return (hid & kNidTypeMask) == 0 && (hid >> m_blockIndexShift) == 0;
}

std::uint64_t CHeapBlock::MapPosition(std::uint32_t hid) const
{
    return std::uint64_t{PageMapOffset()} + 2 + (hid >> 4);
}

std::optional<CHeapBlock::Extent> CHeapBlock::FindExtent(std::uint32_t hid) const
{
    const std::uint64_t position = MapPosition(hid);
    if (!IsOwn(hid) || !m_block.Holds(position, 4))
        return std::nullopt;
    const Extent extent{m_block.ReadOrZero<std::uint16_t>(position),
                        m_block.ReadOrZero<std::uint16_t>(position + 2)};
    if (extent.start > extent.end || extent.end > m_block.Size())
        return std::nullopt;
    return extent;
}

bool CHeapBlock::PassesBoundsTest(std::uint32_t hnid) const
{
    return m_block.Holds(MapPosition(hnid), 4);
}

std::optional<format::CByteView> CHeapBlock::Allocation(std::uint32_t hid) const
{
    if (hid == 0)
        return format::CByteView();  // an empty value. [MS-PST] 2.3.3.2
    const auto extent = FindExtent(hid);
    return extent ? m_block.Sub(extent->start, extent->end - extent->start) : std::nullopt;
}

std::optional<format::CByteView> CHeapBlock::Value(std::uint32_t hid) const
{
    constexpr std::uint32_t kSmallestEnd = 16;
    const auto extent = FindExtent(hid);
    if (!extent || extent->end < kSmallestEnd || extent->start == 0 || extent->start == extent->end ||
        std::uint64_t{extent->end} - extent->start + 4 > m_block.Size())
        return std::nullopt;
    return m_block.Sub(extent->start, extent->end - extent->start);
}

std::optional<std::vector<PropertyRecord>> CHeapBlock::PropertyRecords(bool checkHeader) const
{
    constexpr std::size_t kHeaderBytes = 8;
    constexpr std::size_t kRecordBytes = 8;
    constexpr std::uint16_t kBthOfPropertyIds = 0x02B5;  // bType 0xB5, cbKey 2
    const auto header = Allocation(UserRoot());
    if (!header)
        return std::nullopt;
    if (checkHeader ? header->ReadOrZero<std::uint16_t>(0) != kBthOfPropertyIds
                    : header->Size() != kHeaderBytes)
        return std::nullopt;
    const auto root = Allocation(header->ReadOrZero<std::uint32_t>(4));
    if (!root || root->Size() < kRecordBytes)
        return std::nullopt;
    std::vector<PropertyRecord> records(root->Size() / kRecordBytes);
    for (std::size_t i = 0; i < records.size(); ++i) {
        const std::size_t at = i * kRecordBytes;
        records[i] = {root->ReadOrZero<std::uint16_t>(at), root->ReadOrZero<std::uint16_t>(at + 2),
                      root->ReadOrZero<std::uint32_t>(at + 4)};
    }
    return records;
}

std::u16string ReadStringValue(CBlockReader& reader, const CHeapBlock& heap, std::uint16_t type,
                               std::uint32_t hnid, const std::vector<SubnodeEntry>& subnodes,
                               const platform::CCodePage& codePage)
{
    const format::CByteView block = heap.Block();
    const std::uint64_t position = heap.MapPosition(hnid);
    const auto start = block.Read<std::uint16_t>(position);
    const auto end = block.Read<std::uint16_t>(position + 2);
    if (!heap.IsOwn(hnid) || position + 2 >= block.Size() || !start || !end ||
        *end + std::size_t{2} >= block.Size())
        return ReadSubnodeText(reader, subnodes, hnid, type, codePage);
    if (*start >= *end || *start == 0)
        return {};
    const auto bytes = block.Sub(*start, static_cast<std::uint64_t>(*end - *start));
    if (!bytes)
        return {};
    if (type == kString)
        return format::WideText(bytes->Bytes());
    return type == kString8 ? codePage.ToUtf16(bytes->Bytes()) : std::u16string();
}

}  // namespace pastille::store
