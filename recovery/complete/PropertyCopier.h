#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "recovery/complete/ItemText.h"
#include "recovery/complete/PropertyNames.h"
#include "store/complete/FoundTable.h"
#include "writer/WholeItems.h"

namespace pastille::recovery::complete {

/// Told of a property that did not come over, or not whole.
using LossSink = std::function<void(format::PropertyTag, const std::optional<store::complete::SourceFault>&)>;

/// Bytes that a run may still copy. Any number of references in a damaged file may name the same blocks.
class CCopyAllowance {
public:
    void Allow(std::uint64_t bytes) { m_left = bytes; }
    bool Spend(std::uint64_t bytes)
    {
        if (bytes > m_left)
            return false;
        m_left -= bytes;
        return true;
    }

private:
    std::uint64_t m_left = 0;
};

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

private:
    static void SetBytes(format::PropertyTag tag, format::PropertyTag target,
                         std::span<const std::byte> bytes, writer::IPropertyTarget& to,
                         const CItemText& text);
    static void SetTree(format::PropertyTag tag, format::PropertyTag target, store::complete::CNodeData& tree,
                        writer::IPropertyTarget& to, const CItemText& text);

    CPropertyNames& m_names;
    CCopyAllowance& m_allowance;
};

}  // namespace pastille::recovery::complete
