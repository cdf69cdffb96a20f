#include "tests/support/StoreHeap.h"

#include <algorithm>
#include <stdexcept>

#include "format/Bytes.h"
#include "format/Heap.h"
#include "format/PropertyContext.h"
#include "format/TableContext.h"

namespace pastille::tests {
namespace {

using format::PropertyType;
using format::StoreLE;

constexpr std::uint32_t kRowIdTag = 0x67F20003;
constexpr std::uint32_t kRowVersionTag = 0x67F30003;

bool IsBitmapBlock(std::size_t block)
{
    return block % 128 == 8;
}

}  // namespace

CHeapBuilder::CHeapBuilder(std::uint8_t clientSignature, std::size_t blockBytes, unsigned blockShift)
    : m_client(clientSignature), m_blockBytes(blockBytes), m_shift(blockShift), m_blocks(1)
{
}

std::size_t CHeapBuilder::UsedBytes(std::size_t block, std::size_t moreItems, std::size_t moreBytes) const
{
    const std::size_t end = format::HeapHeaderSize(block) + m_blocks[block].bytes + moreBytes;
    return end + end % 2 + 4 + 2 * (m_blocks[block].items.size() + moreItems + 1);
}

std::uint32_t CHeapBuilder::Add(Bytes item)
{
    if (item.empty() || item.size() > format::kLargestHeapItem)
        throw std::length_error("heap item of impossible size");
    if (UsedBytes(m_blocks.size() - 1, 1, item.size()) > m_blockBytes ||
        m_blocks.back().items.size() == format::kMostHeapItems)
        NextBlock();
    Block& block = m_blocks.back();
    block.bytes += item.size();
    block.items.push_back(std::move(item));
    return static_cast<std::uint32_t>((m_blocks.size() - 1) << m_shift | block.items.size() << 5);
}

void CHeapBuilder::Replace(std::uint32_t hid, Bytes item)
{
    Bytes& old = m_blocks.at(hid >> m_shift).items.at((hid & ((1u << m_shift) - 1)) / 32 - 1);
    if (old.size() != item.size())
        throw std::length_error("heap item changes its size");
    old = std::move(item);
}

std::uint8_t CHeapBuilder::FillLevel(std::size_t block) const
{
    const std::size_t used = UsedBytes(block, 0, 0);
    return format::HeapFillLevel(used < m_blockBytes ? m_blockBytes - used : 0);
}

std::vector<Bytes> CHeapBuilder::Finish() const
{
    std::vector<Bytes> blocks;
    const auto fillLevels = [this](std::span<std::byte> into, std::size_t firstBlock) {
        for (std::size_t i = 0; i < into.size() * 2 && firstBlock + i < m_blocks.size(); ++i)
            into[i / 2] |= static_cast<std::byte>(FillLevel(firstBlock + i) << (4 * (i % 2)));
    };
    for (std::size_t index = 0; index < m_blocks.size(); ++index) {
        const Block& block = m_blocks[index];
        Bytes bytes(format::HeapHeaderSize(index));
        std::vector<std::uint16_t> starts;
        for (const Bytes& item : block.items) {
            starts.push_back(static_cast<std::uint16_t>(bytes.size()));
            bytes.insert(bytes.end(), item.begin(), item.end());
        }
        starts.push_back(static_cast<std::uint16_t>(bytes.size()));
        bytes.resize(bytes.size() + bytes.size() % 2);
        const std::size_t map = bytes.size();
        bytes.resize(map + 4 + 2 * starts.size());
        StoreLE(std::span(bytes), map, static_cast<std::uint16_t>(block.items.size()));
        for (std::size_t i = 0; i < starts.size(); ++i)
            StoreLE(std::span(bytes), map + 4 + 2 * i, starts[i]);
        StoreLE(std::span(bytes), 0, static_cast<std::uint16_t>(map));
        if (index == 0) {
            bytes[2] = std::byte{0xEC};
            bytes[3] = static_cast<std::byte>(m_client);
            StoreLE(std::span(bytes), 4, m_userRoot);
            fillLevels(std::span(bytes).subspan(8, 4), 0);
        } else if (IsBitmapBlock(index)) {
            fillLevels(std::span(bytes).subspan(2, 64), index);
        }
        if (index + 1 < m_blocks.size())
            bytes.resize(m_blockBytes);
        blocks.push_back(std::move(bytes));
    }
    return blocks;
}

std::uint32_t AddBth(CHeapBuilder& heap, const std::vector<Bytes>& records, std::size_t keyBytes,
                     std::uint8_t& levels)
{
    levels = 0;
    std::vector<Bytes> current = records;
    while (!current.empty()) {
        const std::size_t size = current.front().size();
        const std::size_t perItem = format::kLargestHeapItem / size;
        std::vector<Bytes> parents;
        for (std::size_t first = 0; first < current.size(); first += perItem) {
            Bytes item;
            for (std::size_t i = first; i < std::min(first + perItem, current.size()); ++i)
                item.insert(item.end(), current[i].begin(), current[i].end());
            const std::uint32_t hid = heap.Add(std::move(item));
            if (current.size() <= perItem)
                return hid;
            Bytes parent(current[first].begin(),
                         current[first].begin() + static_cast<std::ptrdiff_t>(keyBytes));
            parent.resize(keyBytes + 4);
            StoreLE(std::span(parent), keyBytes, hid);
            parents.push_back(std::move(parent));
        }
        current = std::move(parents);
        ++levels;
    }
    return 0;
}

std::size_t FixedSize(PropertyType type)
{
    const format::PropertyStorageRule rule = format::StorageRuleOf(type);
    return rule.isInlineInCell ? rule.fixedSize : 0;
}

CHeapBuilder BuildPropertyContext(const std::map<std::uint16_t, StoredProperty>& properties,
                                  std::size_t blockBytes, unsigned blockShift)
{
    CHeapBuilder heap(0xBC, blockBytes, blockShift);
    Bytes header(8);
    header[0] = std::byte{0xB5};
    header[1] = std::byte{2};
    header[2] = std::byte{6};
    const std::uint32_t headerHid = heap.Add(header);
    heap.SetUserRoot(headerHid);
    // The records come before the values they point to, so the place of small contexts is taken first.
    const bool oneItem = !properties.empty() && properties.size() * 8 <= format::kLargestHeapItem;
    std::uint32_t root = oneItem ? heap.Add(Bytes(properties.size() * 8)) : 0;
    std::vector<Bytes> records;
    for (const auto& [id, property] : properties) {
        Bytes record(8);
        StoreLE(std::span(record), 0, id);
        StoreLE(std::span(record), 2, static_cast<std::uint16_t>(property.type));
        const std::size_t fixed = FixedSize(property.type);
        if (property.hnid) {
            StoreLE(std::span(record), 4, *property.hnid);
        } else if (fixed != 0 && fixed <= 4) {
            std::copy_n(property.value.begin(), std::min<std::size_t>(4, property.value.size()),
                        record.begin() + 4);
        } else if (!property.value.empty()) {
            StoreLE(std::span(record), 4, heap.Add(property.value));
        }
        records.push_back(std::move(record));
    }
    std::uint8_t levels = 0;
    if (oneItem) {
        Bytes item;
        for (const Bytes& record : records)
            item.insert(item.end(), record.begin(), record.end());
        heap.Replace(root, std::move(item));
    } else {
        root = AddBth(heap, records, 2, levels);
    }
    header[3] = static_cast<std::byte>(levels);
    StoreLE(std::span(header), 4, root);
    heap.Replace(headerHid, header);
    return heap;
}

namespace {

format::TableInfo PlanColumns(std::vector<std::uint32_t> tags)
{
    std::erase_if(tags, [](std::uint32_t tag) { return tag == kRowIdTag || tag == kRowVersionTag; });
    std::sort(tags.begin(), tags.end());
    tags.erase(std::unique(tags.begin(), tags.end()), tags.end());
    tags.insert(tags.begin(), {kRowIdTag, kRowVersionTag});
    format::TableInfo info;
    for (const std::uint32_t tag : tags) {
        const auto type = format::PropertyTag::FromValue(tag);
        const std::size_t fixed = FixedSize(type.type);
        info.columns.push_back({type, 0, static_cast<std::uint8_t>(fixed == 0 ? 4 : fixed),
                                static_cast<std::uint8_t>(info.columns.size())});
    }
    std::uint16_t offset = 0;
    const auto place = [&](std::size_t smallest, std::size_t largest) {
        for (format::TableColumn& column : info.columns) {
            if (column.size < smallest || column.size > largest)
                continue;
            column.offset = offset;
            offset = static_cast<std::uint16_t>(offset + column.size);
        }
        return offset;
    };
    info.end4 = place(4, 8);
    info.end2 = place(2, 2);
    info.end1 = place(1, 1);
    info.rowSize = static_cast<std::uint16_t>(offset + (info.columns.size() + 7) / 8);
    std::ranges::sort(info.columns, {}, &format::TableColumn::tag);
    return info;
}

Bytes RowBytes(const format::TableInfo& info, const TableRow& row, std::uint32_t version, CHeapBuilder& heap,
               const SubnodeSink& toSubnode)
{
    Bytes bytes(info.rowSize);
    const std::span<std::byte> at(bytes);
    for (const format::TableColumn& column : info.columns) {
        const std::uint32_t tag = column.tag.Value();
        const auto cell = row.cells.find(tag);
        if (tag == kRowIdTag || tag == kRowVersionTag) {
            StoreLE(at, column.offset, tag == kRowIdTag ? row.id : version);
        } else if (cell == row.cells.end()) {
            continue;
        } else if (FixedSize(column.tag.type) != 0) {
            std::copy_n(cell->second.begin(), std::min<std::size_t>(column.size, cell->second.size()),
                        bytes.begin() + column.offset);
        } else if (!cell->second.empty()) {
            const bool outside = cell->second.size() > format::kLargestHeapItem;
            StoreLE(at, column.offset, outside ? toSubnode(cell->second) : heap.Add(cell->second));
        }
        format::SetCellExists(info, bytes, column, true);
    }
    return bytes;
}

std::vector<Bytes> RowIndexRecords(const std::vector<TableRow>& rows, bool ansi)
{
    std::map<std::uint32_t, std::uint32_t> sorted;
    for (std::size_t i = 0; i < rows.size(); ++i)
        sorted.emplace(rows[i].id, static_cast<std::uint32_t>(i));
    std::vector<Bytes> records;
    for (const auto& [id, number] : sorted) {
        Bytes record(ansi ? 6 : 8);
        StoreLE(std::span(record), 0, id);
        if (ansi)
            StoreLE(std::span(record), 4, static_cast<std::uint16_t>(number));
        else
            StoreLE(std::span(record), 4, number);
        records.push_back(std::move(record));
    }
    return records;
}

}  // namespace

BuiltTable BuildTable(std::vector<std::uint32_t> tags, const std::vector<TableRow>& rows,
                      const SubnodeSink& toSubnode, std::size_t blockBytes, unsigned blockShift, bool ansi,
                      TableCounters& counters)
{
    format::TableInfo info = PlanColumns(std::move(tags));
    CHeapBuilder heap(0x7C, blockBytes, blockShift);
    Bytes header(8);
    header[0] = std::byte{0xB5};
    header[1] = std::byte{4};
    header[2] = static_cast<std::byte>(ansi ? 2 : 4);
    const std::uint32_t headerHid = heap.Add(header);
    info.rowIndex = headerHid;
    const std::uint32_t infoHid = heap.Add(format::EncodeTableInfo(info));
    heap.SetUserRoot(infoHid);

    std::uint8_t levels = 0;
    StoreLE(std::span(header), 4, AddBth(heap, RowIndexRecords(rows, ansi), 4, levels));
    header[3] = static_cast<std::byte>(levels);
    heap.Replace(headerHid, header);

    const std::size_t rowBytes = info.rowSize;
    const bool inHeap = rows.size() * rowBytes <= format::kLargestHeapItem;
    const std::size_t perBlock = blockBytes / rowBytes;
    info.rows = rows.empty() ? 0 : BuiltTable::kRowMatrixNid;
    if (inHeap && !rows.empty())
        info.rows = heap.Add(Bytes(rows.size() * rowBytes));
    BuiltTable table;
    Bytes matrix;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Bytes row = RowBytes(info, rows[i], ++counters.rowVersion, heap, toSubnode);
        if (!inHeap && i != 0 && i % perBlock == 0) {
            matrix.resize(blockBytes);
            table.rows.push_back(std::move(matrix));
            matrix.clear();
        }
        matrix.insert(matrix.end(), row.begin(), row.end());
    }
    if (inHeap && !rows.empty())
        heap.Replace(info.rows, std::move(matrix));
    else if (!rows.empty())
        table.rows.push_back(std::move(matrix));
    heap.Replace(infoHid, format::EncodeTableInfo(info));
    table.heap = heap.Finish();
    return table;
}

}  // namespace pastille::tests
