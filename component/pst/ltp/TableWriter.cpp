#include "component/pst/ltp/TableWriter.h"

#include <algorithm>
#include <stdexcept>

#include "component/pst/ndb/DataTree.h"
#include "format/PropertyContext.h"
#include "format/PropertyIds.h"

namespace pastille::component::pst {
namespace {

constexpr std::size_t kFullBlock = format::kUnicodeLayout.largestBlock;
constexpr std::size_t kBthHeaderSize = 8;
constexpr std::size_t kIndexKeySize = 4;
constexpr std::size_t kIndexDataSize = 4;
/// Blocks of rows in memory at most, the last one of the table among them.
constexpr std::size_t kMostOpenRowBlocks = 4;

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

}  // namespace

CTableWriter::CTableWriter(CNdbWriter& writer, std::span<const format::TableColumn> columns)
    : m_writer(writer),
      m_info(LayOut(columns)),
      m_heap(format::clientsig::kTableContext),
      m_indexHeader(m_heap.Add(writer, std::vector<std::byte>(kBthHeaderSize))),
      m_infoItem(m_heap.Add(writer, format::EncodeTableInfo(m_info))),
      m_geometry(m_info.rowSize, kFullBlock)
{
    m_heap.SetUserRoot(m_infoItem);
    m_info.rowIndex = m_indexHeader.value;
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
    const auto item = m_heap.FindItem({hnid});
    return !value.tree && item && std::ranges::equal(*item, value.bytes);
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

std::size_t CTableWriter::RowsInBlock(std::size_t block) const
{
    return std::min(m_geometry.RowsPerBlock(), m_rowIds.size() - block * m_geometry.RowsPerBlock());
}

std::vector<std::byte>& CTableWriter::OpenRowBlock(std::size_t block)
{
    if (const auto open = m_openRowBlocks.find(block); open != m_openRowBlocks.end())
        return open->second;
    const std::size_t last = m_rowIds.empty() ? 0 : m_geometry.BlockOf(m_rowIds.size() - 1);
    while (m_openRowBlocks.size() >= kMostOpenRowBlocks) {
        const auto victim =
            std::ranges::find_if(m_openRowBlocks, [last](const auto& b) { return b.first != last; });
        FlushRowBlock(victim->first);
    }
    std::vector<std::byte> bytes;
    if (block < m_rowBlocks.size() && m_rowBlocks[block].value != 0) {
        bytes = *m_writer.ReadBlock(m_rowBlocks[block]);
        bytes.resize(RowsInBlock(block) * m_info.rowSize);
    }
    return m_openRowBlocks.emplace(block, std::move(bytes)).first->second;
}

std::span<std::byte> CTableWriter::RowAt(std::size_t row)
{
    return std::span(OpenRowBlock(m_geometry.BlockOf(row))).subspan(m_geometry.OffsetOf(row), m_info.rowSize);
}

/// Writes a block that is not the table's last, filled up, and takes it out of memory.
void CTableWriter::FlushRowBlock(std::size_t block)
{
    const auto open = m_openRowBlocks.find(block);
    open->second.resize(kFullBlock);
    m_rowBlocks.resize(std::max(m_rowBlocks.size(), block + 1));
    m_rowBlocks[block] = m_writer.AddDataBlock(open->second);
    m_openRowBlocks.erase(open);
}

void CTableWriter::AddRow(std::uint32_t rowId, const CPropertyBag& cells)
{
    if (HasRow(rowId))
        throw std::invalid_argument("the row exists");
    const Row row = MakeRow(rowId, cells, {});
    const std::size_t number = m_rowIds.size();
    std::vector<std::byte>& block = OpenRowBlock(m_geometry.BlockOf(number));
    block.insert(block.end(), row.begin(), row.end());
    m_rowIds.push_back(rowId);
    m_index.Insert({rowId, static_cast<std::uint32_t>(number)});
}

bool CTableWriter::UpdateRow(std::uint32_t rowId, const CPropertyBag& cells)
{
    const IndexEntry* const entry = m_index.Find(rowId);
    if (entry == nullptr)
        return false;
    const std::span<std::byte> place = RowAt(entry->row);
    const Row row = MakeRow(rowId, cells, place);
    DropLargeCells(place, row);
    std::ranges::copy(row, place.begin());
    return true;
}

bool CTableWriter::RemoveRow(std::uint32_t rowId)
{
    const IndexEntry* const entry = m_index.Find(rowId);
    if (entry == nullptr)
        return false;
    const std::size_t number = entry->row;
    const std::size_t last = m_rowIds.size() - 1;
    const std::span<std::byte> lastBytes = RowAt(last);
    const Row lastRow(lastBytes.begin(), lastBytes.end());
    const std::span<std::byte> place = RowAt(number);
    DropLargeCells(place, {});
    std::ranges::copy(lastRow, place.begin());
    m_index.Find(m_rowIds[last])->row = static_cast<std::uint32_t>(number);
    m_rowIds[number] = m_rowIds[last];
    m_index.Erase(rowId);

    std::vector<std::byte>& block = OpenRowBlock(m_geometry.BlockOf(last));
    block.resize(block.size() - m_info.rowSize);
    const bool isBlockEmpty = block.empty();
    m_rowIds.pop_back();
    if (isBlockEmpty) {
        m_openRowBlocks.erase(m_geometry.BlockOf(last));
        m_rowBlocks.resize(std::min(m_rowBlocks.size(), m_geometry.BlockOf(last)));
    }
    return true;
}

bool CTableWriter::IsMatrixInHeap() const
{
    return m_matrixNid.value == 0 && m_rowIds.size() * m_info.rowSize <= format::kLargestHeapItem;
}

std::vector<std::byte> CTableWriter::IndexRecords()
{
    std::vector<std::byte> records(m_rowIds.size() * (kIndexKeySize + kIndexDataSize));
    std::size_t offset = 0;
    for (const IndexEntry& entry : m_index.Sorted()) {
        format::StoreLE<std::uint32_t>(records, offset, entry.rowId);
        format::StoreLE<std::uint32_t>(records, offset + kIndexKeySize, entry.row);
        offset += kIndexKeySize + kIndexDataSize;
    }
    return records;
}

format::Bid CTableWriter::WriteRowMatrix()
{
    const std::size_t last = m_geometry.BlockOf(m_rowIds.size() - 1);
    // The last block, which is written short, stays open for the rows to come.
    OpenRowBlock(last);
    while (m_openRowBlocks.size() > 1)
        FlushRowBlock(m_openRowBlocks.begin()->first);
    CDataTreeWriter tree(m_writer);
    for (std::size_t block = 0; block < last; ++block)
        tree.AppendExistingBlock(m_rowBlocks[block], kFullBlock);
    tree.AppendWholeBlock(m_openRowBlocks.at(last));
    return tree.Finish();
}

NodeContent CTableWriter::Finish()
{
    // What is only true of the table as it is now goes into a copy: the heap itself goes on without it.
    CHeapWriter heap = m_heap;
    format::TableInfo info = m_info;
    NodeContent content;
    CSubnodeTreeWriter subnodes;
    WriteBth(m_writer, heap, m_indexHeader, kIndexKeySize, kIndexDataSize, IndexRecords());
    if (!m_rowIds.empty() && IsMatrixInHeap()) {
        info.rows = heap.Add(m_writer, OpenRowBlock(0)).value;
    } else if (!m_rowIds.empty()) {
        if (m_matrixNid.value == 0)
            m_matrixNid = m_writer.AllocateNid(format::NidType::Ltp);
        const format::Bid matrix = WriteRowMatrix();
        subnodes.Add(m_matrixNid, matrix);
        content.subnodeSize += DataTreeSize(m_writer, matrix);
        info.rows = m_matrixNid.value;
    }
    for (const auto& [nid, tree] : m_largeCells) {
        subnodes.Add({nid}, tree.root);
        content.subnodeSize += tree.size;
    }
    std::ranges::copy(format::EncodeTableInfo(info), heap.ItemOfFirstBlock(m_infoItem).begin());
    content.data = heap.Finish(m_writer);
    content.dataSize = heap.Size();
    content.sub = subnodes.Finish(m_writer);
    return content;
}

}  // namespace pastille::component::pst
