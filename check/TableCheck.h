#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "check/HeapNode.h"
#include "check/PropertyCheck.h"
#include "format/TableContext.h"

namespace pastille::check {

/// A cell of the row visited.
struct TableCell {
    const format::TableColumn* column = nullptr;
    bool isThere = false;     ///< its existence bit is set and its value could be reached
    bool isBroken = false;    ///< set, but the value could not be reached
    format::CByteView bytes;  ///< in the row
    StoredBytes stored;       ///< behind its HNID, when the type is not stored in place
};

/// A row as it is visited; valid during the visit.
struct TableRow {
    std::size_t number = 0;
    std::uint32_t id = 0;
    std::vector<TableCell> cells;  ///< in the order of the columns

    const TableCell* Find(std::uint16_t propertyId) const;
    /// Of a cell stored in place, up to 4 bytes.
    std::optional<std::uint32_t> Number(std::uint16_t propertyId) const;
};

/// A table: its heap, description, row index and matrix are checked when it is opened, its rows as they are
/// visited. Memory: 5 bytes for each row. [MS-PST] 2.3.4
class CTable {
public:
    /// All must outlive the table.
    CTable(CMessagingRun& run, const Place& place, std::uint64_t bidData, std::uint64_t bidSub)
        : m_node(run, place, bidData, bidSub)
    {
    }

    /// False, with a finding, when the node holds no table or its rows cannot be told apart.
    bool Open();
    CHeapNode& Node() { return m_node; }
    const format::TableInfo& Info() const { return m_info; }
    std::size_t RowCount() const { return m_rowCount; }

    /// Visits all rows in the order of the matrix, checking each and its cells.
    void VisitRows(const std::function<void(const TableRow&)>& visit);

private:
    bool OpenInfo();
    bool OpenMatrix();
    bool NoteBrokenMatrix(const std::string& detail);
    void ReadRowIndex(bool hasMatrix);
    std::optional<format::CByteView> RowAt(std::size_t row);
    void CheckRow(TableRow& row, format::CByteView bytes);
    void ReadCell(TableCell& cell, std::size_t row, format::CByteView bytes);

    CHeapNode m_node;
    format::TableInfo m_info;
    std::size_t m_rowCount = 0;
    format::HeldBytes m_heapRows;                    ///< the matrix when it lies in the heap
    std::optional<CDatabase::CDataTree> m_treeRows;  ///< the matrix when it lies in a subnode
    std::size_t m_rowsPerBlock = 0;
    std::size_t m_currentBlock = 0;
    format::SharedBytes m_currentBytes;
    std::vector<std::uint32_t> m_rowIds;  ///< as the row index says
    std::vector<bool> m_isIndexed;
};

}  // namespace pastille::check
