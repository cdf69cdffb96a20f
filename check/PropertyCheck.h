#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "check/HeapNode.h"
#include "format/PropertyTag.h"

namespace pastille::check {

/// Which value of a node a finding is about.
struct ValueName {
    format::PropertyTag tag;
    std::optional<std::size_t> row;  ///< of a table
    std::string Text() const;        ///< "row 3, property 0x0037001F"
};

/// Checks a value that is not stored in place against its type. [MS-PST] 2.3.3.4
void CheckStoredValue(CHeapNode& node, const ValueName& name, const StoredBytes& stored);

/// Checks the highest property id of a context or table against the name-to-id map.
void CheckName(CHeapNode& node, std::uint16_t highestId);

/// All bytes of a value; nothing when it is longer than `limit` or cannot be read.
std::optional<format::HeldBytes> ReadStored(CMessagingRun& run, const StoredBytes& stored, std::size_t limit);

/// One property of a context.
struct Property {
    format::PropertyTag tag;
    std::uint32_t number = 0;  ///< the value of types stored in place
    StoredBytes stored;        ///< of all others
    /// Bytes as PidTagAttachSize counts them: of an object the size it states.
    std::uint64_t size = 0;
};

/// A property context: checked when it is opened, then asked for its properties. [MS-PST] 2.3.3
class CPropertyContext {
public:
    /// All must outlive the context.
    CPropertyContext(CMessagingRun& run, const Place& place, std::uint64_t bidData, std::uint64_t bidSub)
        : m_node(run, place, bidData, bidSub)
    {
    }

    /// False, with a finding, when the node holds no property context.
    bool Open();
    CHeapNode& Node() { return m_node; }
    const std::vector<Property>& All() const { return m_properties; }

    const Property* Find(std::uint16_t id) const;
    /// Of a property stored in place.
    std::optional<std::uint32_t> Number(std::uint16_t id) const;
    /// Bytes of a property that is there, up to 64 KB.
    std::optional<format::HeldBytes> Bytes(std::uint16_t id) const;

private:
    void Add(std::uint16_t id, format::CByteView data);

    CHeapNode m_node;
    std::vector<Property> m_properties;  ///< by rising id
};

/// One finding for all of the properties that are not there.
void NoteMissing(const CPropertyContext& properties, CHeapNode& node, const Rule& rule,
                 std::initializer_list<std::uint16_t> ids);

}  // namespace pastille::check
