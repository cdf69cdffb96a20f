#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Bytes.h"
#include "format/Fault.h"
#include "format/Layout.h"
#include "format/PropertyTag.h"

namespace pastille::format {

/// TCOLDESC. [MS-PST] 2.3.4.2
struct TableColumn {
    PropertyTag tag;
    std::uint16_t offset = 0;  ///< ibData: bytes from the start of the row
    std::uint8_t size = 0;     ///< cbData
    std::uint8_t bit = 0;      ///< iBit in the cell existence block
    friend bool operator==(const TableColumn&, const TableColumn&) = default;
};

/// TCINFO. [MS-PST] 2.3.4.1
struct TableInfo {
    std::uint16_t end4 = 0;      ///< rgib[TCI_4b]: end of the 8- and 4-byte cells
    std::uint16_t end2 = 0;      ///< rgib[TCI_2b]
    std::uint16_t end1 = 0;      ///< rgib[TCI_1b]: start of the cell existence block
    std::uint16_t rowSize = 0;   ///< rgib[TCI_bm]
    std::uint32_t rowIndex = 0;  ///< hidRowIndex
    std::uint32_t rows = 0;      ///< hnidRows, 0 when there are none
    std::vector<TableColumn> columns;

    const TableColumn* Find(PropertyTag tag) const;
    const TableColumn* FindId(std::uint16_t id) const;  ///< the first column of that id
};

inline constexpr std::uint8_t kTableInfoType = 0x7C;  ///< bType
inline constexpr std::size_t kTableInfoSize = 22;     ///< bytes before the columns
inline constexpr std::size_t kTableColumnSize = 8;    ///< bytes of a TCOLDESC

/// Reads TCINFO and its columns; a fault when they are not all there or the row size is 0. Columns are not
/// checked against the row: cells outside it are not there.
Result<TableInfo> DecodeTableInfo(CByteView item);
/// REQUIRES: at most 255 columns.
std::vector<std::byte> EncodeTableInfo(const TableInfo& info);

/// Every rule that a sound TCINFO keeps: columns sorted by tag, row id and row version at their places, ends
/// rising, cells inside their part of the row and without overlap, bits a permutation, the existence block as
/// long as the columns need.
std::optional<Fault> FindTableInfoFault(const TableInfo& info);

/// Where rows lie in a row matrix of several blocks. Rows never cross a block. [MS-PST] 2.3.4.4.1
class CRowGeometry {
public:
    /// `blockSize`: data bytes of every block but the last.
    CRowGeometry(std::size_t rowSize, std::size_t blockSize)
        : m_rowSize(rowSize), m_rowsPerBlock(rowSize == 0 ? 0 : blockSize / rowSize)
    {
    }

    std::size_t RowsPerBlock() const { return m_rowsPerBlock; }
    // REQUIRES of both: RowsPerBlock() != 0.
    std::size_t BlockOf(std::size_t row) const { return row / m_rowsPerBlock; }
    std::size_t OffsetOf(std::size_t row) const { return row % m_rowsPerBlock * m_rowSize; }
    /// Rows in a matrix of `blocks` blocks of which the last has `lastBlockBytes`.
    std::size_t RowCount(std::size_t blocks, std::size_t lastBlockBytes) const
    {
        return blocks == 0 || m_rowSize == 0 ? 0 : (blocks - 1) * m_rowsPerBlock + lastBlockBytes / m_rowSize;
    }

private:
    std::size_t m_rowSize;
    std::size_t m_rowsPerBlock;
};

/// The bytes of a cell; nothing when its existence bit is clear or it does not lie in the row.
std::optional<CByteView> CellOf(const TableInfo& info, CByteView row, const TableColumn& column);
/// Sets or clears a cell's existence bit. REQUIRES: the bit lies in the row.
void SetCellExists(const TableInfo& info, std::span<std::byte> row, const TableColumn& column, bool exists);

}  // namespace pastille::format
