#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "format/TableContext.h"
#include "store/complete/FoundObject.h"

namespace pastille::store::complete {

/// One row of a table while it is visited.
struct FoundRow {
    std::uint32_t id;
    format::CByteView cells;
};

/// A table of the source: of a folder's items, of recipients, of attachments. [MS-PST] 2.3.4
class CFoundTable {
public:
    CFoundTable(CSourceBlocks& blocks, const NodeReference& reference) : m_heap(blocks, reference) {}

    /// False when this is no table or its columns cannot be read.
    bool Open();
    const format::TableInfo& Info() const { return m_info; }
    /// Visits the rows in stored order until `visit` returns false: those that the row index has, or where it
    /// cannot be read all that have an id. Rows of missing blocks are passed over.
    void ForEachRow(const std::function<bool(const FoundRow&)>& visit);
    /// The row of an id, by the row index. Valid until the next call.
    std::optional<FoundRow> RowOf(std::uint32_t id);
    /// The value of a cell. Not there, and without a fault, when the row has none.
    FoundValue Cell(const FoundRow& row, const format::TableColumn& column);
    /// Rows that the row index has; nothing when it cannot be read.
    std::optional<std::size_t> IndexedRows() const;
    /// The first fault so far.
    const std::optional<SourceFault>& Fault() const { return m_fault; }

private:
    void ReadIndex();
    CNodeData* Matrix();
    bool VisitBlock(format::CByteView block, std::size_t mostRows,
                    const std::function<bool(const FoundRow&)>& visit);

    CFoundHeap m_heap;
    format::TableInfo m_info;
    std::unique_ptr<CNodeData> m_matrix;  ///< when the rows stand in a subnode, once asked for
    format::HeldBytes m_row;
    std::optional<std::vector<std::uint32_t>> m_ids;  ///< of the row index, by rising id
    std::optional<SourceFault> m_fault;
};

}  // namespace pastille::store::complete
