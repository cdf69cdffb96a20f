#include "component/pst/ltp/TableWriter.h"

#include <algorithm>
#include <stdexcept>

#include "component/pst/ndb/FormatError.h"
#include "component/pst/ndb/NewStoreLayout.h"
#include "format/PropertyContext.h"
#include "format/PropertyIds.h"

namespace pastille::component::pst {
namespace {

constexpr std::size_t kRowIndexHeaderSize = 8;
constexpr std::size_t kIndexKeySize = 4;
constexpr std::size_t kIndexDataSize = 4;
constexpr std::size_t kIndexRecordSize = kIndexKeySize + kIndexDataSize;
constexpr std::size_t kRowsPerLeaf = format::kLargestHeapItem / kIndexRecordSize;
/// Full blocks in memory, because rows of theirs have changed.
constexpr std::size_t kMostChangedBlocks = 3;
/// Blocks of the heap that are kept for what Finish adds to it (the rows or the end of their index) and for
/// the values of one row.
constexpr std::size_t kSpareBlocks = 32;

format::TableInfo LayOut(std::span<const format::TableColumn> columns)
{
    format::TableInfo info;
    info.columns.assign(columns.begin(), columns.end());
    std::ranges::sort(info.columns, {}, &format::TableColumn::tag);
    for (const format::TableColumn& column : columns) {
        const auto end = static_cast<std::uint16_t>(column.offset + column.size);
        if (column.size >= 4)
            info.end4 = std::max(info.end4, end);
        if (column.size >= 2)
            info.end2 = std::max(info.end2, end);
        info.end1 = std::max(info.end1, end);
    }
    info.rowSize = static_cast<std::uint16_t>(info.end1 + (columns.size() + 7) / 8);
    if (columns.size() > 255 || info.rowSize > kFullBlock)
        throw std::invalid_argument("too many columns");
    if (const auto fault = format::FindTableInfoFault(info))
        throw std::invalid_argument(format::Describe(*fault));
    return info;
}

bool IsBookkeeping(const format::TableColumn& column)
{
    return column.tag.id == format::pid::kLtpRowId || column.tag.id == format::pid::kLtpRowVer;
}

/// The HNID in a cell that holds one; 0 when the cell is of another kind, is empty or does not exist.
std::uint32_t HnidOf(const format::TableInfo& info, std::span<const std::byte> row,
                     const format::TableColumn& column)
{
    if (row.empty() || format::StorageRuleOf(column.tag.type).isInlineInCell)
        return 0;
    const auto cell = format::CellOf(info, format::CByteView(row), column);
    return cell ? cell->ReadOrZero<std::uint32_t>(0) : 0;
}

struct IndexRecord {
    std::uint32_t key, data;
};

/// The last of sorted index records (key 4, data 4) whose key is not above `key`.
std::optional<IndexRecord> LastNotAbove(std::span<const std::byte> records, std::uint32_t key)
{
    std::size_t low = 0;
    for (std::size_t high = records.size() / kIndexRecordSize; low < high;) {
        const std::size_t middle = low + (high - low) / 2;
        if (format::LoadLE<std::uint32_t>(records, middle * kIndexRecordSize) <= key)
            low = middle + 1;
        else
            high = middle;
    }
    if (low == 0)
        return std::nullopt;
    const std::size_t at = (low - 1) * kIndexRecordSize;
    return IndexRecord{format::LoadLE<std::uint32_t>(records, at),
                       format::LoadLE<std::uint32_t>(records, at + kIndexKeySize)};
}

}  // namespace

CTableWriter::CTableWriter(CNdbWriter& writer, std::span<const format::TableColumn> columns,
                           const TableLimits& limits)
    : m_writer(writer),
      m_limits(limits),
      m_info(LayOut(columns)),
      m_heap(format::clientsig::kTableContext),
      m_indexHeader(m_heap.Add(writer, std::vector<std::byte>(kRowIndexHeaderSize))),
      m_infoItem(m_heap.Add(writer, format::EncodeTableInfo(m_info))),
      m_geometry(m_info.rowSize, kFullBlock)
{
    m_heap.SetUserRoot(m_infoItem);
    m_info.rowIndex = m_indexHeader.value;
}

/// Refuses a row before anything of it is stored, so that Finish never meets a limit.
void CTableWriter::RequireRoom(const CPropertyBag& cells) const
{
    const std::size_t indexBlocks = m_indexLeaves.size() / kRowsPerLeaf / kIndexRecordSize;
    if (m_heap.BlockCount() + indexBlocks + kSpareBlocks > m_limits.heapBlocks)
        throw std::length_error("the heap of a table is full");
    const auto large = std::ranges::count_if(
        cells.Values(), [](const PropertyValue& value) { return value.Size() > format::kLargestHeapItem; });
    // One more is for the rows.
    if (large != 0 && m_largeCells.size() + static_cast<std::size_t>(large) + 1 > m_limits.subnodes)
        throw std::length_error("a table has too many long values");
}

/// The bytes of a row. Values that stand in `oldRow` (may be empty) already are used again.
CTableWriter::Row CTableWriter::MakeRow(std::uint32_t rowId, const CPropertyBag& cells,
                                        std::span<const std::byte> oldRow)
{
    Row row(m_info.rowSize);
    for (const format::TableColumn& column : m_info.columns) {
        const PropertyValue* const value = cells.Find(column.tag.id);
        if (IsBookkeeping(column) || value == nullptr || value->tag != column.tag)
            continue;
        const format::PropertyStorageRule rule = format::StorageRuleOf(column.tag.type);
        if (rule.fixedSize != 0 && (value->tree || value->bytes.size() != rule.fixedSize))
            throw std::invalid_argument("a cell is not of its type's size");
        format::SetCellExists(m_info, row, column, true);
        if (rule.isInlineInCell) {
            std::ranges::copy(value->bytes, row.begin() + column.offset);
            continue;
        }
        const std::uint32_t oldHnid = HnidOf(m_info, oldRow, column);
        const std::uint32_t hnid = HoldsValue(oldHnid, *value) ? oldHnid : StoreVariable(*value);
        format::StoreLE<std::uint32_t>(row, column.offset, hnid);
    }
    const format::TableColumn& idColumn = *m_info.FindId(format::pid::kLtpRowId);
    const format::TableColumn& versionColumn = *m_info.FindId(format::pid::kLtpRowVer);
    format::StoreLE<std::uint32_t>(row, idColumn.offset, rowId);
    format::StoreLE<std::uint32_t>(row, versionColumn.offset, m_writer.NextUnique());
    format::SetCellExists(m_info, row, idColumn, true);
    format::SetCellExists(m_info, row, versionColumn, true);
    return row;
}

/// True when an HNID is known to lead to just this value.
bool CTableWriter::HoldsValue(std::uint32_t hnid, const PropertyValue& value) const
{
    if (hnid == 0)
        return false;
    if (!format::IsHeapId(hnid)) {
        const auto known = m_largeCells.find(hnid);
        return value.tree && known != m_largeCells.end() && known->second.root == value.tree->root;
    }
    return !value.tree && m_heap.Item(m_writer, {hnid}) == value.bytes;
}

std::uint32_t CTableWriter::StoreVariable(const PropertyValue& value)
{
    if (!value.tree && value.bytes.size() <= format::kLargestHeapItem)
        return m_heap.Add(m_writer, value.bytes).value;
    if (value.Size() == 0)
        return 0;
    StoredTree stored;
    if (value.tree) {
        stored = *value.tree;
    } else {
        CDataTreeWriter tree(m_writer);
        tree.Append(value.bytes);
        stored = {tree.Finish(), value.bytes.size()};
    }
    const format::Nid nid = m_writer.AllocateNid(format::NidType::Ltp);
    m_largeCells.emplace(nid.value, stored);
    return nid.value;
}

/// Forgets the subnodes of a row that goes, but for those that `newRow` (may be empty) uses on.
void CTableWriter::DropLargeCells(std::span<const std::byte> row, std::span<const std::byte> newRow)
{
    for (const format::TableColumn& column : m_info.columns) {
        const std::uint32_t hnid = HnidOf(m_info, row, column);
        if (hnid != 0 && !format::IsHeapId(hnid) && hnid != HnidOf(m_info, newRow, column))
            m_largeCells.erase(hnid);
    }
}

/// The rows behind the last full block, all of them in memory.
std::vector<std::byte>& CTableWriter::OpenLastRows()
{
    if (m_lastRows.parked.value == 0)
        return m_lastRows.bytes;
    const format::SharedBytes stored = m_writer.ReadBlock(m_lastRows.parked);
    format::CByteView rows(*stored);
    if (const auto item = m_lastRows.parkedItem; item.value != 0) {
        const auto block = Require(format::CHeapBlockView::Parse(rows, item.value >> 16));
        rows = block.Item((item.value & 0xFFFF) >> 5).value_or(format::CByteView());
    }
    if (rows.Size() < m_lastRows.parkedSize)
        throw CFormatError({"row matrix", "size", rows.Size(), m_lastRows.parked.value});
    const auto first = rows.Bytes().first(m_lastRows.parkedSize);
    OpenRows whole;
    whole.bytes.reserve(m_lastRows.Size() + m_info.rowSize);
    whole.bytes.assign(first.begin(), first.end());
    whole.bytes.insert(whole.bytes.end(), m_lastRows.bytes.begin(), m_lastRows.bytes.end());
    m_lastRows = std::move(whole);
    return m_lastRows.bytes;
}

/// Writes the last rows, which fill a block.
void CTableWriter::CloseLastRows()
{
    std::vector<std::byte>& rows = OpenLastRows();
    rows.resize(kFullBlock);
    m_rowBlocks.Append(m_writer.AddDataBlock(rows));
    m_lastRows = {};
}

std::vector<std::byte>& CTableWriter::OpenChangedBlock(std::size_t block)
{
    if (const auto open = m_changedBlocks.find(block); open != m_changedBlocks.end())
        return open->second;
    if (m_changedBlocks.size() == kMostChangedBlocks)
        FlushChangedBlocks();
    return m_changedBlocks.emplace(block, *m_writer.ReadBlock(m_rowBlocks.At(block))).first->second;
}

void CTableWriter::FlushChangedBlocks()
{
    for (const auto& [block, bytes] : m_changedBlocks)
        m_rowBlocks.Set(block, m_writer.AddDataBlock(bytes));
    m_changedBlocks.clear();
}

std::span<std::byte> CTableWriter::RowAt(std::size_t row)
{
    const std::size_t block = m_geometry.BlockOf(row);
    std::vector<std::byte>& bytes = block == m_rowBlocks.Count() ? OpenLastRows() : OpenChangedBlock(block);
    return std::span(bytes).subspan(m_geometry.OffsetOf(row), m_info.rowSize);
}

void CTableWriter::AddRow(std::uint32_t rowId, const CPropertyBag& cells)
{
    if (RowCount() != 0 && rowId <= m_lastId)
        throw std::invalid_argument("row ids rise");
    RequireRoom(cells);
    const bool isBlockFull = m_lastRows.Size() == m_geometry.RowsPerBlock() * m_info.rowSize;
    if (isBlockFull && m_rowBlocks.Count() >= m_limits.rowBlocks)
        throw std::length_error("a table has no room for further rows");
    const Row row = MakeRow(rowId, cells, {});
    if (isBlockFull)
        CloseLastRows();
    m_lastRows.bytes.insert(m_lastRows.bytes.end(), row.begin(), row.end());
    m_latestIds.push_back(m_lastId = rowId);
    IndexFullLeaf();
}

bool CTableWriter::UpdateRow(std::uint32_t rowId, const CPropertyBag& cells)
{
    const auto number = FindRow(rowId);
    if (!number)
        return false;
    RequireRoom(cells);
    const std::span<std::byte> place = RowAt(*number);
    const Row row = MakeRow(rowId, cells, place);
    DropLargeCells(place, row);
    std::ranges::copy(row, place.begin());
    return true;
}

/// Row number of a row id.
std::optional<std::size_t> CTableWriter::FindRow(std::uint32_t rowId) const
{
    const auto latest = std::ranges::lower_bound(m_latestIds, rowId);
    if (latest != m_latestIds.end() && *latest == rowId)
        return m_indexedRows + static_cast<std::size_t>(latest - m_latestIds.begin());
    const auto leaf = LastNotAbove(m_indexLeaves, rowId);
    if (!leaf)
        return std::nullopt;
    const auto records = m_heap.Item(m_writer, {leaf->data});
    const auto record = LastNotAbove(records, rowId);
    return record && record->key == rowId ? std::optional<std::size_t>(record->data) : std::nullopt;
}

/// Records of the row index, which are sorted because row ids rise.
std::vector<std::byte> CTableWriter::LatestIndexRecords() const
{
    std::vector<std::byte> records(m_latestIds.size() * kIndexRecordSize);
    for (std::size_t i = 0; i < m_latestIds.size(); ++i) {
        const std::size_t offset = i * kIndexRecordSize;
        format::StoreLE<std::uint32_t>(records, offset, m_latestIds[i]);
        format::StoreLE<std::uint32_t>(records, offset + kIndexKeySize,
                                       static_cast<std::uint32_t>(m_indexedRows + i));
    }
    return records;
}

/// Puts the latest rows into the row index for good, once they fill a leaf.
void CTableWriter::IndexFullLeaf()
{
    if (m_latestIds.size() < kRowsPerLeaf)
        return;
    const auto leaf = WriteBthLeaves(m_writer, m_heap, kIndexKeySize, kIndexDataSize, LatestIndexRecords());
    m_indexLeaves.insert(m_indexLeaves.end(), leaf.begin(), leaf.end());
    m_indexedRows += m_latestIds.size();
    m_latestIds.clear();
}

bool CTableWriter::IsMatrixInHeap() const
{
    return m_matrixNid.value == 0 && RowCount() * m_info.rowSize <= format::kLargestHeapItem;
}

/// Writes the rows, of which there are some.
void CTableWriter::WriteRowMatrix(CHeapWriter& heap, format::TableInfo& info, CSubnodeTreeWriter& subnodes,
                                  NodeContent& content)
{
    FlushChangedBlocks();
    const std::vector<std::byte>& last = OpenLastRows();
    if (IsMatrixInHeap()) {
        info.rows = heap.Add(m_writer, last).value;
        return;
    }
    if (m_matrixNid.value == 0)
        m_matrixNid = m_writer.AllocateNid(format::NidType::Ltp);
    const format::Bid lastBlock = m_writer.AddDataBlock(last);
    subnodes.Add(m_matrixNid, m_rowBlocks.Finish(m_writer, lastBlock, last.size()));
    content.subnodeSize += m_rowBlocks.Count() * kFullBlock + last.size();
    info.rows = m_matrixNid.value;
    m_lastRows = {lastBlock, {}, last.size(), {}};
}

NodeContent CTableWriter::Finish()
{
    // What is only true of the table as it is now goes into a copy: the heap itself goes on without it.
    CHeapWriter heap = m_heap;
    format::TableInfo info = m_info;
    NodeContent content;
    CSubnodeTreeWriter subnodes;
    std::vector<std::byte> index =
        WriteBthLeaves(m_writer, heap, kIndexKeySize, kIndexDataSize, LatestIndexRecords());
    index.insert(index.begin(), m_indexLeaves.begin(), m_indexLeaves.end());
    WriteBthIndex(m_writer, heap, m_indexHeader, kIndexKeySize, kIndexDataSize, std::move(index));
    if (RowCount() != 0)
        WriteRowMatrix(heap, info, subnodes, content);
    for (const auto& [nid, tree] : m_largeCells) {
        subnodes.Add({nid}, tree.root);
        content.subnodeSize += tree.size;
    }
    std::ranges::copy(format::EncodeTableInfo(info), heap.ItemOfFirstBlock(m_writer, m_infoItem).begin());
    content.data = heap.Finish(m_writer);
    content.dataSize = heap.Size();
    content.sub = subnodes.Finish(m_writer);
    Park(heap, {format::IsHeapId(info.rows) ? info.rows : 0});
    return content;
}

/// Keeps what stands in the blocks of a table just finished there only. `rows`: the heap item that has all
/// rows, when one has.
void CTableWriter::Park(const CHeapWriter& finished, format::HeapId rows)
{
    m_heap.Park(finished);
    if (rows.value != 0)
        m_lastRows = {finished.BlockOf(rows), rows, m_lastRows.Size(), {}};
}

std::size_t CTableWriter::HeldBytes() const
{
    std::size_t held = m_latestIds.capacity() * sizeof(std::uint32_t) + m_indexLeaves.capacity() +
                       m_heap.HeldBytes() + m_rowBlocks.HeldBytes() + m_lastRows.bytes.capacity();
    for (const auto& [block, bytes] : m_changedBlocks)
        held += bytes.capacity();
    return held + m_largeCells.size() * sizeof(*m_largeCells.begin());
}

}  // namespace pastille::component::pst
