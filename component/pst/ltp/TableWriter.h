#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "component/pst/ltp/GrowingTree.h"
#include "component/pst/ltp/HeapWriter.h"
#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ltp/PropertyContextWriter.h"
#include "component/pst/ltp/TableTemplates.h"
#include "component/pst/ndb/NdbWriter.h"
#include "format/TableContext.h"

namespace pastille::component::pst {

/// What a table can hold at most.
struct TableLimits {
    std::size_t heapBlocks = CHeapWriter::kMostBlocks;
    std::size_t rowBlocks = CGrowingTree::kMostFullBlocks;
    std::size_t subnodes =
        CSubnodeTreeWriter::Limits{}.leafEntries * CSubnodeTreeWriter::Limits{}.indexEntries;
};

/// Builds a table context row by row. Full blocks go to the writer as they fill. In memory stay the ids
/// of up to 446 rows, about a byte for each further row, and until the next Finish what was added since the
/// last one. Values that a row no longer uses stay in the heap. [MS-PST] 2.3.4
class CTableWriter {
public:
    /// Columns as a template lists them, in any order; the row id and row version must be among them. Raises
    /// std::invalid_argument when they make no sound table. `writer` must outlive the table.
    CTableWriter(CNdbWriter& writer, std::span<const format::TableColumn> columns,
                 const TableLimits& limits = {});

    /// Appends a row. `rowId` is the NID of the row's object, or a number unique in the table; row ids rise.
    /// `cells` may hold more than the table has columns for; values are taken by tag, row id and version are
    /// set here. Raises std::invalid_argument when the row id is not above the last one, std::length_error
    /// when the table cannot grow any more.
    void AddRow(std::uint32_t rowId, const CPropertyBag& cells);
    /// Replaces all cells of a row. False when there is no such row. Raises std::length_error as AddRow does.
    bool UpdateRow(std::uint32_t rowId, const CPropertyBag& cells);

    std::size_t RowCount() const { return m_indexedRows + m_latestIds.size(); }
    const format::TableInfo& Info() const { return m_info; }

    /// Writes the table as it is now. May be called again after further changes: each result is a table of
    /// its own, but for the blocks that they share. Takes time for what was added since the last call, and
    /// little for each megabyte of the whole. Blocks of the last result are read again: whoever puts the
    /// results into a node, puts each.
    NodeContent Finish();
    /// Memory that grows with the table, about. Bytes.
    std::size_t HeldBytes() const;

private:
    using Row = std::vector<std::byte>;
    /// The rows behind the last full block. The first ones may be parked in the file.
    struct OpenRows {
        format::Bid parked{};          ///< block of the file that has the first rows; 0: none
        format::HeapId parkedItem{};   ///< 0: they stand at the block's start, else in this heap item
        std::size_t parkedSize = 0;    ///< bytes
        std::vector<std::byte> bytes;  ///< rows behind those
        std::size_t Size() const { return parkedSize + bytes.size(); }
    };

    void RequireRoom(const CPropertyBag& cells) const;
    Row MakeRow(std::uint32_t rowId, const CPropertyBag& cells, std::span<const std::byte> oldRow);
    std::uint32_t StoreVariable(const PropertyValue& value);
    bool HoldsValue(std::uint32_t hnid, const PropertyValue& value) const;
    void DropLargeCells(std::span<const std::byte> row, std::span<const std::byte> newRow);
    std::vector<std::byte>& OpenLastRows();
    void CloseLastRows();
    std::vector<std::byte>& OpenChangedBlock(std::size_t block);
    void FlushChangedBlocks();
    std::span<std::byte> RowAt(std::size_t row);
    std::vector<std::byte> LatestIndexRecords() const;
    std::optional<std::size_t> FindRow(std::uint32_t rowId) const;
    void IndexFullLeaf();
    bool IsMatrixInHeap() const;
    void WriteRowMatrix(CHeapWriter& heap, format::TableInfo& info, CSubnodeTreeWriter& subnodes,
                        NodeContent& content);
    void Park(const CHeapWriter& finished, format::HeapId rows);

    CNdbWriter& m_writer;
    TableLimits m_limits;
    format::TableInfo m_info;
    CHeapWriter m_heap;
    format::HeapId m_indexHeader;
    format::HeapId m_infoItem;
    format::CRowGeometry m_geometry;
    std::vector<std::byte> m_indexLeaves;    ///< index records of the row index's full leaves, in the heap
    std::size_t m_indexedRows = 0;           ///< below those
    std::vector<std::uint32_t> m_latestIds;  ///< of the rows behind them
    std::uint32_t m_lastId = 0;              ///< when there are rows
    CGrowingTree m_rowBlocks;                ///< full ones
    OpenRows m_lastRows;
    std::map<std::size_t, std::vector<std::byte>> m_changedBlocks;  ///< full ones with changed rows
    std::map<std::uint32_t, StoredTree> m_largeCells;               ///< by subnode NID
    format::Nid m_matrixNid;                                        ///< once the matrix stands in a subnode
};

}  // namespace pastille::component::pst
