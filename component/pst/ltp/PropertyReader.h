#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ndb/DataTree.h"
#include "component/pst/ndb/FormatError.h"
#include "component/pst/ndb/NodeDatabase.h"
#include "format/PropertyContext.h"

namespace pastille::component::pst {

/// Reads the property context of a node or subnode. Raises CFormatError when it breaks the format.
/// [MS-PST] 2.3.3
class CPropertyReader {
public:
    /// `database` must outlive the reader.
    CPropertyReader(INodeDatabase& database, const NodeRecord& node);

    const NodeRecord& Node() const { return m_node; }
    /// Tags of all properties by rising id.
    std::vector<format::PropertyTag> Tags() const;
    bool Has(std::uint16_t id) const { return FindRecord(id) != nullptr; }
    std::optional<format::PropertyType> TypeOf(std::uint16_t id) const
    {
        const auto* const record = FindRecord(id);
        return record == nullptr ? std::nullopt : std::optional(record->tag.type);
    }
    /// Size in bytes of a value; nothing when the object lacks the property.
    std::optional<std::uint64_t> SizeOf(std::uint16_t id);
    /// The value with all its bytes. Nothing when the object lacks the property or when the value has more
    /// than `maximumBytes` (Open reads such ones piece by piece).
    std::optional<PropertyValue> Read(std::uint16_t id, std::uint64_t maximumBytes = 64u << 20);
    /// A value that stands in a subnode, as a stream; nullptr when it is missing or stands in the heap.
    std::unique_ptr<CDataTreeReader> Open(std::uint16_t id);
    /// The subnode behind a PtypObject value; nothing when the property is missing or no object.
    std::optional<NodeRecord> OpenObject(std::uint16_t id);
    /// All properties. Values of more than `inlineBytes` are given as trees.
    CPropertyBag ReadAll(std::uint64_t inlineBytes = 64u << 10);

    std::optional<NodeRecord> FindSubnode(format::Nid nid)
    {
        return pst::FindSubnode(m_database, m_node.sub, nid);
    }

private:
    const format::PropertyContextRecord* FindRecord(std::uint16_t id) const;
    PropertyValue ReadInline(const format::PropertyContextRecord& record) const;
    NodeRecord RequireSubnode(std::uint32_t nid);

    INodeDatabase& m_database;
    NodeRecord m_node;
    std::unique_ptr<CDataTreeReader> m_blocks;
    std::optional<format::CHeapView> m_heap;
    std::vector<format::PropertyContextRecord> m_records;
};

}  // namespace pastille::component::pst
