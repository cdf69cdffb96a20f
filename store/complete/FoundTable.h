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
    /// Visits the rows in stored order until `visit` returns false: those that the row index has, each once
    /// and where the index says, or where it cannot be read all that have an id. Rows of missing blocks are
    /// passed over. Where the index has a wrong place for an id, the first row with that id stands for it.
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
    /// An entry of the row index. 8 bytes.
    struct IndexedRow {
        std::uint32_t id;
        std::uint32_t place;  ///< its number in the row matrix
    };

    void ReadIndex();
    void MendIndex();
    std::vector<std::uint32_t> ByPlace() const;
    std::optional<std::size_t> EntryOf(std::uint32_t id) const;
    CNodeData* Matrix();
    std::size_t RowsPerBlock();
    bool LoadBlock(std::size_t block);
    std::optional<FoundRow> RowAt(std::size_t place);
    void ForEachStored(std::size_t mostRows, const std::function<bool(const FoundRow&, std::size_t)>& visit);

    CFoundHeap m_heap;
    format::TableInfo m_info;
    std::unique_ptr<CNodeData> m_matrix;             ///< when the rows stand in a subnode, once asked for
    std::size_t m_perBlock = 0;                      ///< rows of each block of the matrix, once known
    format::HeldBytes m_block;                       ///< of the matrix, the one read last
    std::optional<std::size_t> m_number;             ///< its number
    std::optional<std::vector<IndexedRow>> m_index;  ///< by rising id, each once
    bool m_isMended = false;                         ///< the index names no row that is not its id's
    std::optional<SourceFault> m_fault;
};

}  // namespace pastille::store::complete
