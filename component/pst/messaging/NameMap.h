#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "component/pst/ltp/PropertyBag.h"
#include "format/NameId.h"

namespace pastille::component::pst {

using format::PropertyName;

/// A store's Name-to-ID map: names and the property ids from 0x8000 on that stand for them in this file.
/// [MS-PST] 2.4.7
class CNameMap {
public:
    /// The map kept in the properties of the map's node. Records that lead nowhere are left out; what is not
    /// a map gives an empty one.
    static CNameMap Decode(const CPropertyBag& properties);
    /// The properties of the map's node.
    CPropertyBag Encode() const;

    std::optional<std::uint16_t> Find(const PropertyName& name) const;
    /// The id of a name, a new one when the name has none yet. nullopt when all 32,767 ids are in use.
    std::optional<std::uint16_t> FindOrAdd(const PropertyName& given);
    /// Names and gaps; rises with every name added.
    std::size_t Count() const { return m_names.size(); }

private:
    std::vector<PropertyName> m_names;  ///< at index i, the name of property 0x8000 + i
    std::map<PropertyName, std::uint16_t> m_ids;
};

}  // namespace pastille::component::pst
