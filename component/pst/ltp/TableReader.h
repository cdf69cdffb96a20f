#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ndb/DataTree.h"
#include "component/pst/ndb/FormatError.h"
#include "component/pst/ndb/NodeDatabase.h"
#include "format/Bth.h"
#include "format/TableContext.h"

namespace pastille::component::pst {

/// Reads the table context of a node or subnode. Raises CFormatError when it breaks the format.
/// [MS-PST] 2.3.4
class CTableReader {
public:
    /// `database` must outlive the reader.
    CTableReader(INodeDatabase& database, const NodeRecord& node);

    const format::TableInfo& Info() const { return m_info; }
    std::size_t RowCount() const { return m_rowCount; }

    // REQUIRES of each: row < RowCount().
    /// The row's own bytes.
    format::HeldBytes RowAt(std::size_t row);
    std::uint32_t RowIdAt(std::size_t row);
    /// The value of a cell; nothing when the table lacks the column (by id) or the row the value. Values of
    /// more than `inlineBytes` are given as trees.
    std::optional<PropertyValue> Cell(std::size_t row, std::uint16_t id,
                                      std::uint64_t inlineBytes = 64u << 20);
    /// All values of a row, row id and version among them.
    CPropertyBag ReadRow(std::size_t row, std::uint64_t inlineBytes = 64u << 10);

    /// Row number of a row id, by the row index.
    std::optional<std::size_t> FindRow(std::uint32_t rowId);
    /// Checks that every row resolves through the index to itself and that the index has no other entries.
    void VerifyRowIndex();

private:
    void OpenRows();
    std::optional<PropertyValue> ReadCell(const format::HeldBytes& row, const format::TableColumn& column,
                                          std::uint64_t inlineBytes);

    INodeDatabase& m_database;
    NodeRecord m_node;
    std::unique_ptr<CDataTreeReader> m_blocks;
    std::unique_ptr<format::CHeapView> m_heap;  ///< by pointer: the index refers to it
    format::TableInfo m_info;
    std::optional<format::CBthView> m_index;
    std::unique_ptr<CDataTreeReader> m_matrix;      ///< when the rows stand in a subnode
    std::optional<format::HeldBytes> m_heapMatrix;  ///< when they stand in the heap
    std::optional<format::CRowGeometry> m_geometry;
    std::size_t m_rowCount = 0;
};

}  // namespace pastille::component::pst
