#include "component/pst/messaging/Recipients.h"

#include <algorithm>
#include <utility>

#include "component/pst/ltp/TableReader.h"
#include "component/pst/ltp/TableTemplates.h"
#include "component/pst/ltp/TableWriter.h"
#include "component/pst/messaging/StoreError.h"
#include "format/Heap.h"
#include "format/PropertyContext.h"
#include "format/PropertyIds.h"

namespace pastille::component::pst {
namespace {

constexpr auto& kTemplate = tabletemplate::kRecipientTableColumns;
constexpr std::size_t kMostColumns = 255;  ///< cCols has one byte
constexpr std::uint32_t kPrimaryRecipient = 1;

const format::TableColumn* FindInTemplate(std::uint16_t id)
{
    const auto at =
        std::ranges::find(kTemplate, id, [](const format::TableColumn& column) { return column.tag.id; });
    return at == kTemplate.end() ? nullptr : &*at;
}

bool IsBookkeeping(format::PropertyTag tag)
{
    return tag.id == format::pid::kLtpRowId || tag.id == format::pid::kLtpRowVer;
}

}  // namespace

std::size_t CRecipients::Add()
{
    m_rows.emplace_back();
    return m_rows.size() - 1;
}

bool CRecipients::Set(std::size_t row, PropertyValue value)
{
    if (IsBookkeeping(value.tag))
        return false;
    if (const auto* const known = FindInTemplate(value.tag.id)) {
        if (known->tag != value.tag)
            return false;
    } else {
        const auto column = std::ranges::find(m_columns, value.tag.id, &format::PropertyTag::id);
        if (column != m_columns.end() && *column != value.tag)
            return false;
        if (column == m_columns.end()) {
            if (kTemplate.size() + m_columns.size() == kMostColumns)
                throw CStoreError(Refusal::TooLarge);
            m_columns.push_back(value.tag);
        }
    }
    m_rows.at(row).Set(std::move(value));
    return true;
}

std::vector<format::TableColumn> CRecipients::Columns() const
{
    std::vector<format::TableColumn> columns(kTemplate.begin(), kTemplate.end());
    if (m_columns.empty())
        return columns;
    // The further ones come in between: cells stand by size, and row id and version before all.
    std::ranges::sort(columns, {}, &format::TableColumn::bit);
    for (const format::PropertyTag tag : m_columns)
        columns.push_back({tag, 0, static_cast<std::uint8_t>(format::StorageRuleOf(tag.type).cellSize),
                           static_cast<std::uint8_t>(columns.size())});
    std::uint16_t end = 0;
    for (const auto& [least, most] : {std::pair{4, 8}, std::pair{2, 2}, std::pair{1, 1}}) {
        for (format::TableColumn& column : columns) {
            if (column.size < least || column.size > most)
                continue;
            column.offset = end;
            end = static_cast<std::uint16_t>(end + column.size);
        }
    }
    return columns;
}

NodeContent WriteRecipients(CNdbWriter& writer, const CRecipients& recipients)
{
    CTableWriter table(writer, recipients.Columns());
    std::uint32_t rowId = 0;
    for (const CPropertyBag& recipient : recipients.Rows()) {
        if (recipient.Has(format::pid::kRecipientType)) {
            table.AddRow(++rowId, recipient);
            continue;
        }
        CPropertyBag typed = recipient;
        typed.Set(Integer32Value(format::pid::kRecipientType, kPrimaryRecipient));
        table.AddRow(++rowId, typed);
    }
    return table.Finish();
}

CRecipients ReadRecipients(INodeDatabase& database, const NodeRecord& node)
{
    CRecipients recipients;
    CTableReader table(database, node);
    for (std::size_t row = 0; row < table.RowCount(); ++row) {
        const std::size_t number = recipients.Add();
        const CPropertyBag cells = table.ReadRow(row, format::kLargestHeapItem);
        for (const PropertyValue& value : cells.Values())
            recipients.Set(number, value);
    }
    return recipients;
}

}  // namespace pastille::component::pst
