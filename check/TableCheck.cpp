#include "check/TableCheck.h"

#include <algorithm>

#include "check/LtpRules.h"
#include "check/LtpTree.h"
#include "format/PropertyContext.h"
#include "format/PropertyIds.h"

namespace pastille::check {
namespace {

/// More rows than any client keeps; bounds what a crafted matrix costs.
constexpr std::size_t kMostRows = 1u << 24;
constexpr std::size_t kDeprecatedIndexOffset = 18;  ///< hidIndex

std::string RowName(std::size_t row)
{
    return "row " + std::to_string(row);
}

/// Bytes of the existence block's last byte that stand for no column.
bool HasStrayBits(const format::TableInfo& info, format::CByteView row)
{
    const std::size_t used = info.columns.size() % 8;
    const auto last = row.ReadOrZero<std::uint8_t>(std::uint64_t{info.rowSize} - 1);
    return used != 0 && (last & (0xFFu >> used)) != 0;
}

}  // namespace

const TableCell* TableRow::Find(std::uint16_t propertyId) const
{
    for (const TableCell& cell : cells)
        if (cell.column->tag.id == propertyId)
            return cell.isThere ? &cell : nullptr;
    return nullptr;
}

std::optional<std::uint32_t> TableRow::Number(std::uint16_t propertyId) const
{
    const TableCell* const cell = Find(propertyId);
    if (cell == nullptr || !format::StorageRuleOf(cell->column->tag.type).isInlineInCell)
        return std::nullopt;
    std::uint32_t value = 0;
    for (std::size_t i = std::min<std::size_t>(cell->bytes.Size(), 4); i-- > 0;)
        value = (value << 8) | cell->bytes.ReadOrZero<std::uint8_t>(i);
    return value;
}

bool CTable::Open()
{
    if (!m_node.Open(format::clientsig::kTableContext) || !OpenInfo())
        return false;
    const bool hasMatrix = OpenMatrix();
    ReadRowIndex(hasMatrix);
    return hasMatrix;
}

bool CTable::OpenInfo()
{
    const auto item = m_node.TakeItem(m_node.UserRoot());
    if (!item) {
        m_node.NoteMissing(rules::kTableInfo, {}, "HID " + Hex(m_node.UserRoot()));
        return false;
    }
    const auto info = format::DecodeTableInfo(item->view);
    auto fault = info ? format::FindTableInfoFault(*info) : std::optional(info.GetFault());
    if (!fault &&
        item->view.Size() != format::kTableInfoSize + info->columns.size() * format::kTableColumnSize)
        fault = format::Fault{"TCINFO", "size", item->view.Size(), 0};
    if (fault) {
        m_node.Note(rules::kTableInfo, {}, Describe(*fault));
        return false;
    }
    CheckName(m_node, info->columns.empty() ? 0 : info->columns.back().tag.id);
    if (item->view.ReadOrZero<std::uint32_t>(kDeprecatedIndexOffset) != 0)
        m_node.Note(rules::kTableReserved, "hidIndex");
    m_info = *info;
    return true;
}

bool CTable::NoteBrokenMatrix(const std::string& detail)
{
    m_node.NoteMissing(rules::kTableMatrix, {}, detail);
    m_rowCount = 0;
    return false;
}

bool CTable::OpenMatrix()
{
    const auto stored = m_node.Take(m_info.rows);
    if (!stored)
        return NoteBrokenMatrix("HNID " + Hex(m_info.rows));
    if (stored->isUnreadable)
        return false;
    if (stored->size == 0) {
        if (m_info.rows != 0)
            m_node.Note(rules::kValueEmpty, "row matrix");
        return true;
    }
    if (stored->isInHeap) {
        m_heapRows = stored->held;
        m_rowCount = stored->size / m_info.rowSize;
        return stored->size % m_info.rowSize == 0 ||
               NoteBrokenMatrix(std::to_string(stored->size) + " bytes");
    }
    if (!m_node.Run().IsFirstVisit(stored->dataBid)) {
        m_node.Note(rules::kTreeShared, "row matrix");
        return false;
    }
    m_treeRows = m_node.Run().Database().OpenData(stored->dataBid);
    const std::size_t blocks = m_treeRows ? m_treeRows->BlockCount() : 0;
    const auto first = blocks == 0 ? nullptr : m_treeRows->BlockAt(0);
    const auto last = blocks == 0 ? nullptr : m_treeRows->BlockAt(blocks - 1);
    if (!first || !last)
        return false;
    const format::CRowGeometry geometry(m_info.rowSize, first->size());
    m_rowsPerBlock = geometry.RowsPerBlock();
    m_rowCount = geometry.RowCount(blocks, last->size());
    if (m_rowsPerBlock == 0 || last->size() % m_info.rowSize != 0 || m_rowCount > kMostRows)
        return NoteBrokenMatrix(std::to_string(last->size()) + " bytes in the last block, rows of " +
                                std::to_string(m_info.rowSize));
    return true;
}

void CTable::ReadRowIndex(bool hasMatrix)
{
    m_rowIds.resize(m_rowCount);
    m_isIndexed.resize(m_rowCount);
    std::size_t strays = 0;
    const bool isWide = m_node.Run().Layout().wide;
    std::size_t rowNumberSize = 4;
    CheckBth(
        m_node, m_info.rowIndex,
        [&](const BthShape& shape) {
            rowNumberSize = shape.dataSize;
            // Row numbers of ANSI stores have 2 bytes, but 4 in the replication tables that clients make.
            const bool isRowIndex =
                shape.keySize == 4 && (rowNumberSize == 4 || (!isWide && rowNumberSize == 2));
            if (!isRowIndex)
                m_node.Note(rules::kTableIndex, {},
                            "records of " + std::to_string(shape.keySize) + " and " +
                                std::to_string(shape.dataSize) + " bytes");
            return isRowIndex;
        },
        [&](const LtpRecord& record) {
            const std::size_t row = rowNumberSize == 4 ? record.data.ReadOrZero<std::uint32_t>(0)
                                                       : record.data.ReadOrZero<std::uint16_t>(0);
            if (row >= m_rowCount || m_isIndexed[row]) {
                ++strays;
                return;
            }
            m_isIndexed[row] = true;
            m_rowIds[row] = static_cast<std::uint32_t>(record.key);
        });
    const auto missing = std::ranges::count(m_isIndexed, false);
    // A broken matrix has its own finding.
    if (hasMatrix && (strays != 0 || missing != 0))
        m_node.Note(rules::kTableIndex, {},
                    std::to_string(strays) + " records without a row of their own, " +
                        std::to_string(missing) + " rows without a record");
}

std::optional<format::CByteView> CTable::RowAt(std::size_t row)
{
    if (!m_treeRows)
        return m_heapRows.view.Sub(std::uint64_t{row} * m_info.rowSize, m_info.rowSize);
    const std::size_t block = row / m_rowsPerBlock;
    if (!m_currentBytes || m_currentBlock != block) {
        m_currentBytes = m_treeRows->BlockAt(block);
        m_currentBlock = block;
    }
    if (!m_currentBytes)
        return std::nullopt;
    return format::CByteView(*m_currentBytes).Sub(row % m_rowsPerBlock * m_info.rowSize, m_info.rowSize);
}

void CTable::ReadCell(TableCell& cell, std::size_t row, format::CByteView bytes)
{
    const auto value = CellOf(m_info, bytes, *cell.column);
    cell.isThere = value.has_value();
    cell.isBroken = false;
    cell.stored = {};
    if (!value)
        return;
    cell.bytes = *value;
    const ValueName name{cell.column->tag, row};
    if (format::StorageRuleOf(cell.column->tag.type).isInlineInCell) {
        if (cell.column->tag.type == format::PropertyType::Boolean && value->ReadOrZero<std::uint8_t>(0) > 1)
            m_node.Note(rules::kPropertyInline, name.Text());
        return;
    }
    const auto hnid = value->ReadOrZero<std::uint32_t>(0);
    if (auto stored = m_node.Take(hnid)) {
        CheckStoredValue(m_node, name, *stored);
        cell.isBroken = stored->isUnreadable;
        cell.isThere = !cell.isBroken;
        cell.stored = std::move(*stored);
        return;
    }
    m_node.NoteAstray(rules::kValueMissing, name.Text(), "HNID " + Hex(hnid));
    cell.isThere = false;
    cell.isBroken = true;
}

void CTable::CheckRow(TableRow& row, format::CByteView bytes)
{
    for (TableCell& cell : row.cells)
        ReadCell(cell, row.number, bytes);
    const auto id = row.Number(format::pid::kLtpRowId);
    const auto version = row.Number(format::pid::kLtpRowVer);
    if (!id || !version || HasStrayBits(m_info, bytes))
        m_node.Note(rules::kTableExistence, RowName(row.number));
    if (version)
        m_node.Run().AddRowVersion(*version);
    row.id = bytes.ReadOrZero<std::uint32_t>(0);
    if (m_isIndexed[row.number] && m_rowIds[row.number] != row.id) {
        m_node.Note(rules::kTableRowId, RowName(row.number), Instead(row.id, m_rowIds[row.number]));
        row.id = m_rowIds[row.number];  // programs find rows by it
    }
}

void CTable::VisitRows(const std::function<void(const TableRow&)>& visit)
{
    TableRow row;
    for (const format::TableColumn& column : m_info.columns)
        row.cells.push_back({&column, false, false, {}, {}});
    for (row.number = 0; row.number < m_rowCount; ++row.number) {
        const auto bytes = RowAt(row.number);
        if (!bytes)
            continue;
        CheckRow(row, *bytes);
        visit(row);
    }
}

}  // namespace pastille::check
