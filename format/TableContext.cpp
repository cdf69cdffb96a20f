#include "format/TableContext.h"

#include <algorithm>
#include <array>
#include <utility>

#include "format/PropertyContext.h"
#include "format/PropertyIds.h"

namespace pastille::format {
namespace {

constexpr const char* kInfo = "TCINFO";
constexpr const char* kColumn = "TCOLDESC";
constexpr std::size_t kEndsOffset = 2;       ///< rgib
constexpr std::size_t kRowIndexOffset = 10;  ///< hidRowIndex
constexpr std::size_t kRowsOffset = 14;      ///< hnidRows

/// The part of a row that cells of a size belong to: its first byte and its end.
std::optional<std::pair<std::size_t, std::size_t>> PartOf(const TableInfo& info, std::size_t cellSize)
{
    switch (cellSize) {
        case 8:
        case 4:
            return std::pair<std::size_t, std::size_t>{0, info.end4};
        case 2:
            return std::pair<std::size_t, std::size_t>{info.end4, info.end2};
        case 1:
            return std::pair<std::size_t, std::size_t>{info.end2, info.end1};
        default:
            return std::nullopt;
    }
}

std::optional<Fault> FindEndsFault(const TableInfo& info)
{
    if (info.end2 < info.end4)
        return Fault{kInfo, "rgib[TCI_2b]", info.end2, 4};
    if (info.end1 < info.end2)
        return Fault{kInfo, "rgib[TCI_1b]", info.end1, 6};
    if (info.rowSize != info.end1 + (info.columns.size() + 7) / 8)
        return Fault{kInfo, "rgib[TCI_bm]", info.rowSize, 8};
    return std::nullopt;
}

std::optional<Fault> FindBookkeepingFault(const TableInfo& info)
{
    const TableColumn* const id = info.FindId(pid::kLtpRowId);
    const TableColumn* const version = info.FindId(pid::kLtpRowVer);
    if (id == nullptr || id->offset != 0 || id->bit != 0)
        return Fault{kColumn, "PidTagLtpRowId", id == nullptr ? 0u : id->offset, 0};
    if (version == nullptr || version->offset != 4 || version->bit != 1)
        return Fault{kColumn, "PidTagLtpRowVer", version == nullptr ? 0u : version->offset, 0};
    return std::nullopt;
}

}  // namespace

const TableColumn* TableInfo::Find(PropertyTag tag) const
{
    const auto at = std::ranges::find(columns, tag, &TableColumn::tag);
    return at == columns.end() ? nullptr : &*at;
}

const TableColumn* TableInfo::FindId(std::uint16_t id) const
{
    const auto at = std::ranges::find_if(columns, [id](const TableColumn& c) { return c.tag.id == id; });
    return at == columns.end() ? nullptr : &*at;
}

Result<TableInfo> DecodeTableInfo(CByteView item)
{
    if (item.Size() < kTableInfoSize)
        return Fault{kInfo, "size", item.Size(), 0};
    if (item.ReadOrZero<std::uint8_t>(0) != kTableInfoType)
        return Fault{kInfo, "bType", item.ReadOrZero<std::uint8_t>(0), 0};
    const std::size_t count = item.ReadOrZero<std::uint8_t>(1);
    TableInfo info;
    info.end4 = item.ReadOrZero<std::uint16_t>(kEndsOffset);
    info.end2 = item.ReadOrZero<std::uint16_t>(kEndsOffset + 2);
    info.end1 = item.ReadOrZero<std::uint16_t>(kEndsOffset + 4);
    info.rowSize = item.ReadOrZero<std::uint16_t>(kEndsOffset + 6);
    info.rowIndex = item.ReadOrZero<std::uint32_t>(kRowIndexOffset);
    info.rows = item.ReadOrZero<std::uint32_t>(kRowsOffset);
    if (info.rowSize == 0)
        return Fault{kInfo, "rgib[TCI_bm]", 0, 8};
    if (!item.Holds(kTableInfoSize, count * kTableColumnSize))
        return Fault{kInfo, "cCols", count, 1};
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t offset = kTableInfoSize + i * kTableColumnSize;
        info.columns.push_back({PropertyTag::FromValue(item.ReadOrZero<std::uint32_t>(offset)),
                                item.ReadOrZero<std::uint16_t>(offset + 4),
                                item.ReadOrZero<std::uint8_t>(offset + 6),
                                item.ReadOrZero<std::uint8_t>(offset + 7)});
    }
    return info;
}

std::vector<std::byte> EncodeTableInfo(const TableInfo& info)
{
    std::vector<std::byte> item(kTableInfoSize + info.columns.size() * kTableColumnSize);
    StoreLE<std::uint8_t>(item, 0, kTableInfoType);
    StoreLE<std::uint8_t>(item, 1, static_cast<std::uint8_t>(info.columns.size()));
    StoreLE<std::uint16_t>(item, kEndsOffset, info.end4);
    StoreLE<std::uint16_t>(item, kEndsOffset + 2, info.end2);
    StoreLE<std::uint16_t>(item, kEndsOffset + 4, info.end1);
    StoreLE<std::uint16_t>(item, kEndsOffset + 6, info.rowSize);
    StoreLE<std::uint32_t>(item, kRowIndexOffset, info.rowIndex);
    StoreLE<std::uint32_t>(item, kRowsOffset, info.rows);
    std::size_t offset = kTableInfoSize;
    for (const TableColumn& column : info.columns) {
        StoreLE<std::uint32_t>(item, offset, column.tag.Value());
        StoreLE<std::uint16_t>(item, offset + 4, column.offset);
        StoreLE<std::uint8_t>(item, offset + 6, column.size);
        StoreLE<std::uint8_t>(item, offset + 7, column.bit);
        offset += kTableColumnSize;
    }
    return item;
}

std::optional<Fault> FindTableInfoFault(const TableInfo& info)
{
    if (auto fault = FindEndsFault(info))
        return fault;
    if (auto fault = FindBookkeepingFault(info))
        return fault;
    std::vector<bool> used(info.end1);
    std::array<bool, 256> bits{};
    for (std::size_t i = 0; i < info.columns.size(); ++i) {
        const TableColumn& column = info.columns[i];
        const std::uint64_t place = kTableInfoSize + i * kTableColumnSize;
        if (i > 0 && !(info.columns[i - 1].tag < column.tag))
            return Fault{kColumn, "tag", column.tag.Value(), place};
        if (column.size != StorageRuleOf(column.tag.type).cellSize)
            return Fault{kColumn, "cbData", column.size, place + 6};
        if (column.bit >= info.columns.size() || bits[column.bit])
            return Fault{kColumn, "iBit", column.bit, place + 7};
        bits[column.bit] = true;
        const auto part = PartOf(info, column.size);
        if (!part || column.offset < part->first || column.offset + std::size_t{column.size} > part->second)
            return Fault{kColumn, "ibData", column.offset, place + 4};
        for (std::size_t at = column.offset; at < column.offset + std::size_t{column.size}; ++at) {
            if (used[at])
                return Fault{kColumn, "ibData", column.offset, place + 4};
            used[at] = true;
        }
    }
    return std::nullopt;
}

std::optional<CByteView> CellOf(const TableInfo& info, CByteView row, const TableColumn& column)
{
    const auto flags = row.Read<std::uint8_t>(std::uint64_t{info.end1} + column.bit / 8);
    if (!flags || (*flags & (0x80u >> (column.bit % 8))) == 0)
        return std::nullopt;
    return row.Sub(column.offset, column.size);
}

void SetCellExists(const TableInfo& info, std::span<std::byte> row, const TableColumn& column, bool exists)
{
    std::byte& flags = row[info.end1 + std::size_t{column.bit} / 8];
    const auto mask = static_cast<std::byte>(0x80u >> (column.bit % 8));
    flags = exists ? flags | mask : flags & ~mask;
}

}  // namespace pastille::format
