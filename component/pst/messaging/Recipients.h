#pragma once

#include <cstddef>
#include <vector>

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ltp/PropertyContextWriter.h"
#include "component/pst/ndb/NdbWriter.h"
#include "format/TableContext.h"

namespace pastille::component::pst {

/// The recipients of a message, one row each, and the columns that their properties need beside those of the
/// template: one for each property id. [MS-PST] 2.4.5.3
class CRecipients {
public:
    std::size_t Count() const { return m_rows.size(); }
    bool IsEmpty() const { return m_rows.empty(); }
    const std::vector<CPropertyBag>& Rows() const { return m_rows; }

    /// Adds a recipient without properties and returns its number (from 0).
    std::size_t Add();
    /// Sets a property of a recipient. False, and nothing is changed, when the column of that id is of
    /// another type. Raises CStoreError (TooLarge) when a table has no room for one more column.
    bool Set(std::size_t row, PropertyValue value);

    /// The columns of the table: the template's as they are when they are enough.
    std::vector<format::TableColumn> Columns() const;

private:
    std::vector<CPropertyBag> m_rows;
    std::vector<format::PropertyTag> m_columns;  ///< beside the template's, in the order of their first use
};

/// Writes the recipient table. A recipient without a type (PidTagRecipientType) becomes a primary one, as
/// each has to have one. REQUIRES: there are recipients.
NodeContent WriteRecipients(CNdbWriter& writer, const CRecipients& recipients);
/// The recipients in the table of a message.
CRecipients ReadRecipients(INodeDatabase& database, const NodeRecord& table);

}  // namespace pastille::component::pst
