#include "store/complete/FoundTable.h"

#include <algorithm>
#include <utility>

#include "format/Bth.h"

namespace pastille::store::complete {
namespace {

using Reason = SourceFault::Reason;

constexpr std::size_t kRowIdSize = 4;
constexpr std::size_t kMostRows = 10'000'000;

}  // namespace

bool CFoundTable::Open()
{
    const SourceFault structure{Reason::Structure, m_heap.Reference().bidData, std::nullopt};
    if (m_heap.Open() && m_heap.Heap().ClientSignature() == format::clientsig::kTableContext) {
        if (const auto item = m_heap.Heap().Item(m_heap.Heap().UserRoot())) {
            if (auto info = format::DecodeTableInfo(item->view)) {
                m_info = *std::move(info);
                ReadIndex();
                NoteFirst(m_fault, m_heap.Fault());
                return true;
            }
        }
    }
    NoteFirst(m_fault, m_heap.Fault());
    NoteFirst(m_fault, structure);
    return false;
}

void CFoundTable::ReadIndex()
{
    const SourceFault structure{Reason::Structure, m_heap.Reference().bidData, std::nullopt};
    const auto index = format::CBthView::Open(m_heap.Heap(), m_info.rowIndex);
    if (!index || index->KeySize() != kRowIdSize) {
        NoteFirst(m_fault, structure);
        return;
    }
    std::vector<std::uint32_t> ids;
    const auto fault = index->ForEach([&ids](const format::BthRecord& record) {
        ids.push_back(static_cast<std::uint32_t>(record.key));
        return ids.size() < kMostRows;
    });
    if (fault) {
        NoteFirst(m_fault, structure);
        return;
    }
    std::ranges::sort(ids);
    m_ids = std::move(ids);
}

std::optional<std::size_t> CFoundTable::IndexedRows() const
{
    return m_ids ? std::optional(m_ids->size()) : std::nullopt;
}

void CFoundTable::ForEachRow(const std::function<bool(const FoundRow&)>& visit)
{
    if (m_info.rows == 0 || (m_ids && m_ids->empty()))
        return;
    if (format::IsHeapId(m_info.rows)) {
        if (const auto item = m_heap.Heap().Item(m_info.rows))
            VisitBlock(item->view, kMostRows, visit);
        else
            NoteFirst(m_fault, SourceFault{Reason::Structure, m_heap.Reference().bidData, std::nullopt});
        NoteFirst(m_fault, m_heap.Fault());
        return;
    }
    CNodeData* const matrix = Matrix();
    if (matrix == nullptr)
        return;
    // A tree may name one block any number of times; sound tables have a row once.
    std::size_t left = m_ids ? 2 * m_ids->size() : kMostRows;
    for (std::size_t i = 0; i < matrix->BlockCount() && left != 0; ++i) {
        const auto bytes = matrix->BlockAt(i);
        if (!bytes)
            continue;
        const std::size_t rows = std::min(left, bytes->size() / m_info.rowSize);
        left -= std::max<std::size_t>(1, rows);
        if (!VisitBlock(format::CByteView(*bytes), rows, visit))
            break;
    }
    NoteFirst(m_fault, matrix->Fault());
}

/// nullptr when it is not there.
CNodeData* CFoundTable::Matrix()
{
    if (m_matrix)
        return m_matrix.get();
    const Subnode* const subnode = m_heap.Subnodes().Find(m_info.rows);
    if (subnode == nullptr) {
        NoteFirst(m_fault, m_heap.Subnodes().Fault());
        NoteFirst(m_fault, SourceFault{Reason::Structure, m_heap.Reference().bidData, std::nullopt});
        return nullptr;
    }
    m_matrix =
        std::make_unique<CNodeData>(m_heap.Blocks(), subnode->reference.bidData, subnode->reference.isAtHome);
    return m_matrix.get();
}

std::optional<FoundRow> CFoundTable::RowOf(std::uint32_t id)
{
    const auto index = format::CBthView::Open(m_heap.Heap(), m_info.rowIndex);
    if (!index || m_info.rows == 0)
        return std::nullopt;
    const auto found = index->Find(id);
    if (!found || !*found)
        return std::nullopt;
    const format::CByteView number = (*found)->data;
    const std::uint64_t row =
        number.Size() == 2 ? number.ReadOrZero<std::uint16_t>(0) : number.ReadOrZero<std::uint32_t>(0);
    std::uint64_t offset = row * m_info.rowSize;
    if (format::IsHeapId(m_info.rows)) {
        const auto item = m_heap.Heap().Item(m_info.rows);
        if (!item)
            return std::nullopt;
        m_row = *item;
    } else {
        CNodeData* const matrix = Matrix();
        const auto first = matrix == nullptr ? nullptr : matrix->BlockAt(0);
        const format::CRowGeometry geometry(m_info.rowSize, first ? first->size() : 0);
        if (geometry.RowsPerBlock() == 0)
            return std::nullopt;
        m_row.owner = matrix->BlockAt(geometry.BlockOf(row));
        m_row.view = m_row.owner ? format::CByteView(*m_row.owner) : format::CByteView();
        offset = geometry.OffsetOf(row);
    }
    const auto cells = m_row.view.Sub(offset, m_info.rowSize);
    if (!cells || cells->ReadOrZero<std::uint32_t>(0) != id)
        return std::nullopt;
    return FoundRow{id, *cells};
}

bool CFoundTable::VisitBlock(format::CByteView block, std::size_t mostRows,
                             const std::function<bool(const FoundRow&)>& visit)
{
    const std::size_t rows = std::min(mostRows, block.Size() / m_info.rowSize);
    for (std::size_t row = 0; row < rows; ++row) {
        const auto cells = block.Sub(row * m_info.rowSize, m_info.rowSize);
        const auto id = cells ? cells->ReadOrZero<std::uint32_t>(0) : 0;
        const bool isRow = m_ids ? std::ranges::binary_search(*m_ids, id) : id != 0;
        if (isRow && !visit({id, *cells}))
            return false;
    }
    return true;
}

FoundValue CFoundTable::Cell(const FoundRow& row, const format::TableColumn& column)
{
    FoundValue value;
    const auto cell = format::CellOf(m_info, row.cells, column);
    if (!cell)
        return value;
    const format::PropertyStorageRule rule = format::StorageRuleOf(column.tag.type);
    if (!rule.isInlineInCell)
        return m_heap.Value(column.tag, cell->ReadOrZero<std::uint32_t>(0));
    value.bytes.assign(cell->Bytes().begin(), cell->Bytes().end());
    value.isThere = rule.fixedSize == 0 || value.bytes.size() == rule.fixedSize;
    if (!value.isThere)
        value.fault = SourceFault{Reason::Structure, m_heap.Reference().bidData, std::nullopt};
    return value;
}

}  // namespace pastille::store::complete
