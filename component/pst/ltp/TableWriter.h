#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "component/pst/ltp/HeapWriter.h"
#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ltp/PropertyContextWriter.h"
#include "component/pst/ltp/TableTemplates.h"
#include "component/pst/ndb/NdbWriter.h"
#include "component/pst/ndb/SortedList.h"
#include "format/TableContext.h"

namespace pastille::component::pst {

/// Builds a table context row by row. Full blocks go to the writer as they fill; in memory stay the open
/// blocks and about 12 bytes per row. Values that a row no longer uses stay in the heap. [MS-PST] 2.3.4
class CTableWriter {
public:
    /// Columns as a template lists them, in any order; the row id and row version must be among them. Raises
    /// std::invalid_argument when they make no sound table. `writer` must outlive the table.
    CTableWriter(CNdbWriter& writer, std::span<const format::TableColumn> columns);

    /// Appends a row. `rowId` is the NID of the row's object, or a number unique in the table. `cells` may
    /// hold more than the table has columns for; values are taken by tag, row id and version are set here.
    /// Raises std::invalid_argument when the row id exists.
    void AddRow(std::uint32_t rowId, const CPropertyBag& cells);
    /// Replaces all cells of a row. False when there is no such row.
    bool UpdateRow(std::uint32_t rowId, const CPropertyBag& cells);
    /// Takes a row out; the last row moves to its place. False when there is no such row.
    bool RemoveRow(std::uint32_t rowId);
    bool HasRow(std::uint32_t rowId) { return m_index.Find(rowId) != nullptr; }

    std::size_t RowCount() const { return m_rowIds.size(); }
    /// Row ids in row order.
    const std::vector<std::uint32_t>& RowIds() const { return m_rowIds; }
    const format::TableInfo& Info() const { return m_info; }

    /// Writes the table as it is now. May be called again after further changes; each result is a table of
    /// its own.
    NodeContent Finish();

private:
    struct IndexEntry {
        std::uint32_t rowId;
        std::uint32_t row;
        std::uint32_t Key() const { return rowId; }
    };
    using Row = std::vector<std::byte>;

    Row MakeRow(std::uint32_t rowId, const CPropertyBag& cells, std::span<const std::byte> oldRow);
    std::uint32_t StoreVariable(const PropertyValue& value);
    bool HoldsValue(std::uint32_t hnid, const PropertyValue& value) const;
    void DropLargeCells(std::span<const std::byte> row, std::span<const std::byte> newRow);
    std::size_t RowsInBlock(std::size_t block) const;
    std::vector<std::byte>& OpenRowBlock(std::size_t block);
    std::span<std::byte> RowAt(std::size_t row);
    void FlushRowBlock(std::size_t block);
    bool IsMatrixInHeap() const;
    format::Bid WriteRowMatrix();
    std::vector<std::byte> IndexRecords();

    CNdbWriter& m_writer;
    format::TableInfo m_info;
    CHeapWriter m_heap;
    format::HeapId m_indexHeader;
    format::HeapId m_infoItem;
    format::CRowGeometry m_geometry;
    std::vector<std::uint32_t> m_rowIds;
    CSortedList<IndexEntry> m_index;
    std::vector<format::Bid> m_rowBlocks;                           ///< full blocks by number; 0: only open
    std::map<std::size_t, std::vector<std::byte>> m_openRowBlocks;  ///< rows of blocks that are in memory
    std::map<std::uint32_t, StoredTree> m_largeCells;               ///< by subnode NID
    format::Nid m_matrixNid;                                        ///< once the matrix stands in a subnode
};

}  // namespace pastille::component::pst
