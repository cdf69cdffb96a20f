#include "check/TableCompare.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "format/PropertyContext.h"
#include "format/PropertyIds.h"

namespace pastille::check {
namespace {

/// Longer values are compared by their size alone.
constexpr std::size_t kLongestCompared = 1u << 16;

bool IsBookkeeping(std::uint16_t id)
{
    return id == format::pid::kLtpRowId || id == format::pid::kLtpRowVer;
}

bool HasEqualBytes(CMessagingRun& run, const StoredBytes& left, format::CByteView right)
{
    const auto bytes = ReadStored(run, left, kLongestCompared);
    return !bytes || std::ranges::equal(bytes->view.Bytes(), right.Bytes());
}

bool IsEqual(CMessagingRun& run, const TableCell& cell, const Property& property)
{
    const auto rule = format::StorageRuleOf(property.tag.type);
    if (rule.isInlineInContext) {
        std::uint32_t number = 0;
        for (std::size_t i = std::min<std::size_t>(cell.bytes.Size(), 4); i-- > 0;)
            number = (number << 8) | cell.bytes.ReadOrZero<std::uint8_t>(i);
        const std::uint32_t mask = rule.fixedSize >= 4 ? ~0u : (1u << (8 * rule.fixedSize)) - 1;
        return (number & mask) == (property.number & mask);
    }
    if (rule.isInlineInCell)
        return HasEqualBytes(run, property.stored, cell.bytes);
    if (cell.stored.size != property.stored.size)
        return false;
    const auto bytes = ReadStored(run, cell.stored, kLongestCompared);
    return !bytes || HasEqualBytes(run, property.stored, bytes->view);
}

/// Gathers what differs, for one finding.
class CDifferences {
public:
    void Add(format::PropertyTag tag, const char* how)
    {
        if (m_count++ != 0)
            return;
        char text[48];
        std::snprintf(text, sizeof(text), "0x%08X %s", static_cast<unsigned>(tag.Value()), how);
        m_first = text;
    }
    void Report(CTable& table, const TableRow& row, const Rule& rule) const
    {
        if (m_count != 0)
            table.Node().Note(rule, "row " + std::to_string(row.number) + " of " + Hex(row.id),
                              m_count == 1 ? m_first : m_first + ", " + std::to_string(m_count) + " cells");
    }

private:
    std::string m_first;
    std::size_t m_count = 0;
};

}  // namespace

void CompareRow(CTable& table, const TableRow& row, const CPropertyContext& object, const RowRules& rowRules)
{
    // Rows of a cached mailbox hold what the server sent, whether the message has been loaded or not.
    const bool isPst = table.Node().Run().IsPst();
    CDifferences different, stale;
    for (const TableCell& cell : row.cells) {
        const format::PropertyTag tag = cell.column->tag;
        const Property* const property = object.Find(tag.id);
        const bool isSame = property != nullptr && property->tag == tag;
        const bool isUnknown =
            cell.isBroken || (property != nullptr && (!isSame || property->stored.isUnreadable));
        if (IsBookkeeping(tag.id) || isUnknown)
            continue;
        const bool isComputed = std::ranges::find(rowRules.computed, tag.id) != rowRules.computed.end();
        if (cell.isThere && isSame) {
            if (!IsEqual(table.Node().Run(), cell, *property))
                (isComputed ? stale : different).Add(tag, "differs");
        } else if (cell.isThere != isSame && !isComputed && isPst) {
            stale.Add(tag, cell.isThere ? "only in the row" : "not in the row");
        }
    }
    different.Report(table, row, rowRules.different);
    stale.Report(table, row, rowRules.stale);
}

}  // namespace pastille::check
