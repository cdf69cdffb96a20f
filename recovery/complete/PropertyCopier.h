#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "recovery/complete/CopyAllowance.h"
#include "recovery/complete/ItemText.h"
#include "recovery/complete/PropertyNames.h"
#include "store/complete/FoundTable.h"
#include "writer/WholeItems.h"

namespace pastille::recovery::complete {

/// Told of a property that did not come over, or only a part of it.
using LossSink =
    std::function<void(format::PropertyTag, const std::optional<store::complete::SourceFault>&, bool isPart)>;

/// Brings properties of a source's objects over as they are: each with its type and bytes, named ones under
/// the id that the new store has for their name, 8-bit texts as UTF-16.
///
/// Members raise _com_error only when the file below the new store cannot be written.
class CPropertyCopier {
public:
    CPropertyCopier(CPropertyNames& names, CCopyAllowance& allowance) : m_names(names), m_allowance(allowance)
    {
    }

    /// All properties of an object, but for those of type Object, which are references.
    void Copy(store::complete::CFoundObject& from, writer::IPropertyTarget& to, const CItemText& text,
              const LossSink& lost);
    /// All cells of a row.
    void CopyRow(store::complete::CFoundTable& table, const store::complete::FoundRow& row,
                 writer::IPropertyTarget& to, const CItemText& text, const LossSink& lost);
    /// One value. False when nothing of it came over; nothing is told then.
    bool CopyValue(format::PropertyTag tag, store::complete::FoundValue& value, writer::IPropertyTarget& to,
                   const CItemText& text, const LossSink& lost);
    /// What all values of the run together may still take.
    CCopyAllowance& Allowance() { return m_allowance; }

private:
    static bool SetBytes(format::PropertyTag tag, format::PropertyTag target,
                         std::span<const std::byte> bytes, writer::IPropertyTarget& to,
                         const CItemText& text);
    bool SetTree(format::PropertyTag tag, format::PropertyTag target, store::complete::CNodeData& tree,
                 writer::IPropertyTarget& to, const CItemText& text);

    CPropertyNames& m_names;
    CCopyAllowance& m_allowance;
};

}  // namespace pastille::recovery::complete
