#include "component/pst/ltp/TableReader.h"

#include "component/pst/ltp/StoredValue.h"
#include "format/PropertyContext.h"

namespace pastille::component::pst {
namespace {

constexpr std::size_t kRowIdSize = 4;

}  // namespace

CTableReader::CTableReader(INodeDatabase& database, const NodeRecord& node)
    : m_database(database), m_node(node), m_blocks(std::make_unique<CDataTreeReader>(database, node.data))
{
    m_heap =
        std::make_unique<format::CHeapView>(Require(format::CHeapView::Open(database.Layout(), *m_blocks)));
    if (m_heap->ClientSignature() != format::clientsig::kTableContext)
        throw CFormatError({"HNHDR", "bClientSig", m_heap->ClientSignature(), 3});
    m_info = Require(format::DecodeTableInfo(Require(m_heap->Item(m_heap->UserRoot())).view));
    if (const auto fault = format::FindTableInfoFault(m_info))
        throw CFormatError(*fault);
    m_index = Require(format::CBthView::Open(*m_heap, m_info.rowIndex));
    if (m_index->KeySize() != kRowIdSize)
        throw CFormatError({"BTHHEADER", "cbKey", m_index->KeySize(), 1});
    OpenRows();
}

void CTableReader::OpenRows()
{
    if (m_info.rows == 0)
        return;
    std::size_t bytesOfLast = 0;
    if (format::IsHeapId(m_info.rows)) {
        m_heapMatrix = Require(m_heap->Item(m_info.rows));
        bytesOfLast = m_heapMatrix->view.Size();
        m_geometry.emplace(m_info.rowSize, bytesOfLast);
        m_rowCount = m_geometry->RowsPerBlock();
    } else {
        const auto subnode = FindSubnode(m_database, m_node.sub, {m_info.rows});
        if (!subnode)
            throw CFormatError({"TCINFO", "hnidRows", m_info.rows, 14});
        m_matrix = std::make_unique<CDataTreeReader>(m_database, subnode->data);
        const std::size_t blocks = m_matrix->BlockCount();
        const std::size_t blockSize =
            blocks > 1 ? m_matrix->BlockAt(0)->size() : m_database.Layout().largestBlock;
        m_geometry.emplace(m_info.rowSize, blockSize);
        bytesOfLast = blocks == 0 ? 0 : m_matrix->BlockAt(blocks - 1)->size();
        m_rowCount = m_geometry->RowCount(blocks, bytesOfLast);
    }
    if (m_geometry->RowsPerBlock() == 0 || bytesOfLast % m_info.rowSize != 0)
        throw CFormatError({"TCINFO", "rgib[TCI_bm]", m_info.rowSize, 8});
}

format::HeldBytes CTableReader::RowAt(std::size_t row)
{
    format::HeldBytes held =
        m_matrix ? format::HeldBytes{m_matrix->BlockAt(m_geometry->BlockOf(row)), {}} : *m_heapMatrix;
    if (m_matrix)
        held.view = format::CByteView(*held.owner);
    const auto bytes =
        held.view.Sub(m_matrix ? m_geometry->OffsetOf(row) : row * m_info.rowSize, m_info.rowSize);
    if (!bytes)
        throw CFormatError({"TC", "row", row, 0});
    held.view = *bytes;
    return held;
}

std::uint32_t CTableReader::RowIdAt(std::size_t row)
{
    return RowAt(row).view.ReadOrZero<std::uint32_t>(0);
}

std::optional<PropertyValue> CTableReader::ReadCell(const format::HeldBytes& row,
                                                    const format::TableColumn& column,
                                                    std::uint64_t inlineBytes)
{
    const auto cell = format::CellOf(m_info, row.view, column);
    if (!cell)
        return std::nullopt;
    if (format::StorageRuleOf(column.tag.type).isInlineInCell)
        return PropertyValue{column.tag, {cell->Bytes().begin(), cell->Bytes().end()}, {}};
    return ReadStoredValue({m_database, *m_heap, m_node.sub}, column.tag, cell->ReadOrZero<std::uint32_t>(0),
                           inlineBytes);
}

std::optional<PropertyValue> CTableReader::Cell(std::size_t row, std::uint16_t id, std::uint64_t inlineBytes)
{
    const format::TableColumn* const column = m_info.FindId(id);
    if (column == nullptr)
        return std::nullopt;
    return ReadCell(RowAt(row), *column, inlineBytes);
}

CPropertyBag CTableReader::ReadRow(std::size_t row, std::uint64_t inlineBytes)
{
    const format::HeldBytes held = RowAt(row);
    CPropertyBag bag;
    for (const format::TableColumn& column : m_info.columns)
        if (auto value = ReadCell(held, column, inlineBytes))
            bag.Set(std::move(*value));
    return bag;
}

std::optional<std::size_t> CTableReader::FindRow(std::uint32_t rowId)
{
    const auto record = Require(m_index->Find(rowId));
    if (!record)
        return std::nullopt;
    const std::size_t row = m_index->DataSize() == 2 ? record->data.ReadOrZero<std::uint16_t>(0)
                                                     : record->data.ReadOrZero<std::uint32_t>(0);
    if (row >= m_rowCount || RowIdAt(row) != rowId)
        throw CFormatError({"TC", "dwRowIndex", row, rowId});
    return row;
}

void CTableReader::VerifyRowIndex()
{
    std::size_t entries = 0;
    const auto fault = m_index->ForEach([&entries](const format::BthRecord&) {
        ++entries;
        return true;
    });
    if (fault)
        throw CFormatError(*fault);
    if (entries != m_rowCount)
        throw CFormatError({"TC", "hidRowIndex", entries, m_rowCount});
    for (std::size_t row = 0; row < m_rowCount; ++row)
        if (FindRow(RowIdAt(row)) != row)
            throw CFormatError({"TC", "dwRowID", RowIdAt(row), row});
}

}  // namespace pastille::component::pst
