#include "store/complete/FoundTable.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "format/Bth.h"

namespace pastille::store::complete {
namespace {

using Reason = SourceFault::Reason;

constexpr std::size_t kRowIdSize = 4;
constexpr std::size_t kMostRows = 10'000'000;
/// No place in a row matrix: those are numbers of 32 bits.
constexpr std::size_t kNowhere = std::size_t{1} << 32;

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
    std::vector<IndexedRow> rows;
    const auto fault = index->ForEach([&rows](const format::BthRecord& record) {
        const format::CByteView place = record.data;
        rows.push_back({static_cast<std::uint32_t>(record.key), place.Size() == 2
                                                                    ? place.ReadOrZero<std::uint16_t>(0)
                                                                    : place.ReadOrZero<std::uint32_t>(0)});
        return rows.size() < kMostRows;
    });
    if (fault) {
        NoteFirst(m_fault, structure);
        return;
    }
    std::ranges::stable_sort(rows, {}, &IndexedRow::id);
    const auto isSameId = [](const IndexedRow& a, const IndexedRow& b) { return a.id == b.id; };
    rows.erase(std::unique(rows.begin(), rows.end(), isSameId), rows.end());
    m_index = std::move(rows);
}

std::optional<std::size_t> CFoundTable::IndexedRows() const
{
    return m_index ? std::optional(m_index->size()) : std::nullopt;
}

std::optional<std::size_t> CFoundTable::EntryOf(std::uint32_t id) const
{
    const auto at = std::ranges::lower_bound(*m_index, id, {}, &IndexedRow::id);
    return at != m_index->end() && at->id == id ? std::optional<std::size_t>(at - m_index->begin())
                                                : std::nullopt;
}

/// The index's entries in the order of their rows.
std::vector<std::uint32_t> CFoundTable::ByPlace() const
{
    std::vector<std::uint32_t> order(m_index->size());
    std::iota(order.begin(), order.end(), 0u);
    std::ranges::stable_sort(order, {}, [this](std::uint32_t entry) { return (*m_index)[entry].place; });
    return order;
}

/// Finds the rows of those entries that have a wrong place.
void CFoundTable::MendIndex()
{
    if (std::exchange(m_isMended, true))
        return;
    std::vector<bool> isLost(m_index->size());
    std::size_t lost = 0;
    for (const std::uint32_t entry : ByPlace()) {
        const auto row = RowAt((*m_index)[entry].place);
        isLost[entry] = !row || row->id != (*m_index)[entry].id;
        lost += isLost[entry] ? 1 : 0;
    }
    if (lost == 0)
        return;
    // A tree may name one block any number of times; sound tables have a row once.
    ForEachStored(2 * m_index->size(), [&](const FoundRow& row, std::size_t place) {
        const auto entry = EntryOf(row.id);
        if (entry && isLost[*entry] && place < kNowhere) {
            (*m_index)[*entry].place = static_cast<std::uint32_t>(place);
            isLost[*entry] = false;
            --lost;
        }
        return lost != 0;
    });
}

void CFoundTable::ForEachRow(const std::function<bool(const FoundRow&)>& visit)
{
    if (m_info.rows == 0)
        return;
    if (!m_index) {
        ForEachStored(kMostRows, [&](const FoundRow& row, std::size_t) { return row.id == 0 || visit(row); });
    } else {
        MendIndex();
        for (const std::uint32_t entry : ByPlace()) {
            const auto row = RowAt((*m_index)[entry].place);
            const format::HeldBytes held = m_block;
            if (row && row->id == (*m_index)[entry].id && !visit(*row))
                break;
        }
    }
    NoteFirst(m_fault, format::IsHeapId(m_info.rows) ? m_heap.Fault()
                       : m_matrix                    ? m_matrix->Fault()
                                                     : std::nullopt);
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

/// 0 when there are none. Blocks are cut alike, so any but the last tells.
std::size_t CFoundTable::RowsPerBlock()
{
    if (m_perBlock != 0)
        return m_perBlock;
    CNodeData* const matrix = Matrix();
    const std::size_t count = matrix == nullptr ? 0 : matrix->BlockCount();
    constexpr std::size_t kMostTries = 16;
    for (std::size_t i = 0; i < std::min(count, kMostTries) && m_perBlock == 0; ++i) {
        const auto bytes = i + 1 < count || count == 1 ? matrix->BlockAt(i) : nullptr;
        m_perBlock = bytes ? bytes->size() / m_info.rowSize : 0;
    }
    if (m_perBlock == 0 && count != 0)
        m_perBlock = m_heap.Blocks().Layout().largestBlock / m_info.rowSize;
    return m_perBlock;
}

/// Rows in the heap are one block. False when it is not there.
bool CFoundTable::LoadBlock(std::size_t block)
{
    if (m_number == block)
        return m_block.owner != nullptr;
    m_number = block;
    m_block = {};
    if (format::IsHeapId(m_info.rows)) {
        if (auto item = m_heap.Heap().Item(m_info.rows))
            m_block = *std::move(item);
        else
            NoteFirst(m_fault, SourceFault{Reason::Structure, m_heap.Reference().bidData, std::nullopt});
    } else if (CNodeData* const matrix = Matrix()) {
        m_block.owner = matrix->BlockAt(block);
        if (m_block.owner)
            m_block.view = format::CByteView(*m_block.owner);
    }
    return m_block.owner != nullptr;
}

/// Valid until another block is loaded.
std::optional<FoundRow> CFoundTable::RowAt(std::size_t place)
{
    std::size_t block = 0;
    std::size_t offset = place * m_info.rowSize;
    if (!format::IsHeapId(m_info.rows)) {
        if (RowsPerBlock() == 0)
            return std::nullopt;
        block = place / RowsPerBlock();
        offset = place % RowsPerBlock() * m_info.rowSize;
    }
    if (!LoadBlock(block))
        return std::nullopt;
    const auto cells = m_block.view.Sub(offset, m_info.rowSize);
    return cells ? std::optional(FoundRow{cells->ReadOrZero<std::uint32_t>(0), *cells}) : std::nullopt;
}

std::optional<FoundRow> CFoundTable::RowOf(std::uint32_t id)
{
    const auto entry = m_index && m_info.rows != 0 ? EntryOf(id) : std::nullopt;
    if (!entry)
        return std::nullopt;
    auto row = RowAt((*m_index)[*entry].place);
    if (!m_isMended && (!row || row->id != id)) {
        MendIndex();
        row = RowAt((*m_index)[*entry].place);
    }
    return row && row->id == id ? row : std::nullopt;
}

/// All that stands in the matrix, with its place, until `visit` returns false.
void CFoundTable::ForEachStored(std::size_t mostRows,
                                const std::function<bool(const FoundRow&, std::size_t)>& visit)
{
    const bool isInHeap = format::IsHeapId(m_info.rows);
    const std::size_t perBlock = isInHeap ? kNowhere : RowsPerBlock();
    const std::size_t blocks = isInHeap ? 1 : perBlock == 0 ? 0 : Matrix()->BlockCount();
    for (std::size_t block = 0; block < blocks && mostRows != 0; ++block) {
        LoadBlock(block);
        const format::HeldBytes held = m_block;
        const std::size_t rows = std::min(mostRows, held.view.Size() / m_info.rowSize);
        mostRows -= std::min(mostRows, std::max<std::size_t>(1, rows));
        for (std::size_t i = 0; i < rows; ++i) {
            const auto cells = held.view.Sub(i * m_info.rowSize, m_info.rowSize);
            const std::size_t place = i < perBlock ? block * perBlock + i : kNowhere;
            if (!cells || !visit({cells->ReadOrZero<std::uint32_t>(0), *cells}, place))
                return;
        }
    }
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
