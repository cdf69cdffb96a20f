#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>

#include "format/NameId.h"
#include "store/complete/FoundObject.h"
#include "writer/WholeItems.h"

namespace pastille::recovery::complete {

/// The names of the source's properties and the ids that the new store has for them. [MS-PST] 2.4.7
class CPropertyNames {
public:
    /// Adds what a copy of the source's map says of ids that nothing is known of yet: the newest copy first.
    void Read(store::complete::CFoundObject& map);
    /// A copy of the map was read that has something in it.
    bool IsRead() const { return m_isRead; }
    /// Ids that TargetId was asked for and that have no name.
    std::size_t UnknownIds() const { return m_unknownIds; }
    /// The names go to this store.
    void SetTarget(writer::CRef<writer::IPropertyNames> target) { m_target = std::move(target); }

    /// The id in the new store of a property id of the source. One below 0x8000 stands for itself. An id that
    /// has no name in the source keeps one that tells it: "Unknown 0x8012". Raises what the component raises.
    std::uint16_t TargetId(std::uint16_t sourceId);
    const format::PropertyName* Find(std::uint16_t sourceId) const;

private:
    std::unordered_map<std::uint16_t, format::PropertyName> m_names;
    std::unordered_map<std::uint16_t, std::uint16_t> m_ids;
    bool m_isRead = false;
    std::size_t m_unknownIds = 0;
    writer::CRef<writer::IPropertyNames> m_target;
};

}  // namespace pastille::recovery::complete
