#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "format/Guid.h"
#include "format/Ids.h"
#include "format/PropertyTag.h"

namespace pastille::component::pst {

/// Data that already stands in the store as a data tree.
struct StoredTree {
    format::Bid root;
    std::uint64_t size = 0;  ///< bytes
};

/// A property's tag and its value in stored form: integers little-endian in their own size (a Boolean is one
/// byte), times as FILETIME, strings as UTF-16LE without terminator, binaries as they are, multi-values as
/// the format lays them out. A long value may be given as a tree written before; `bytes` is then empty.
/// [MS-PST] 2.3.3.3
struct PropertyValue {
    format::PropertyTag tag;
    std::vector<std::byte> bytes;
    std::optional<StoredTree> tree;

    std::uint64_t Size() const { return tree ? tree->size : bytes.size(); }
    friend bool operator==(const PropertyValue& a, const PropertyValue& b)
    {
        return a.tag == b.tag && a.bytes == b.bytes && a.tree.has_value() == b.tree.has_value() &&
               (!a.tree || a.tree->root == b.tree->root);
    }
};

// Values made from the host's types.
PropertyValue BooleanValue(std::uint16_t id, bool value);
PropertyValue Integer16Value(std::uint16_t id, std::uint16_t value);
PropertyValue Integer32Value(std::uint16_t id, std::uint32_t value);
PropertyValue Integer64Value(std::uint16_t id, std::uint64_t value);
PropertyValue Floating64Value(std::uint16_t id, double value);
/// `fileTime`: units of 100 ns since 1601-01-01 UTC.
PropertyValue TimeValue(std::uint16_t id, std::uint64_t fileTime);
/// Embedded NUL characters are left out: the format keeps strings without them.
PropertyValue StringValue(std::uint16_t id, std::u16string_view text);
PropertyValue BinaryValue(std::uint16_t id, std::span<const std::byte> bytes);
PropertyValue GuidValue(std::uint16_t id, const format::Guid& guid);
PropertyValue MultipleStringValue(std::uint16_t id, const std::vector<std::u16string>& texts);
PropertyValue MultipleInteger32Value(std::uint16_t id, std::span<const std::uint32_t> numbers);
/// Object of an attachment: the subnode that holds it and its size in bytes.
PropertyValue ObjectValue(std::uint16_t id, format::Nid subnode, std::uint32_t size);
/// A String, Binary or other value of varying length that stands in the store already.
PropertyValue TreeValue(format::PropertyTag tag, const StoredTree& tree);

// What a value says; nothing when its type or size is another.
std::optional<bool> AsBoolean(const PropertyValue& value);
std::optional<std::uint32_t> AsInteger32(const PropertyValue& value);  ///< Integer16, Integer32, ErrorCode
std::optional<std::uint64_t> AsInteger64(const PropertyValue& value);  ///< Integer64, Time, Currency
std::optional<double> AsFloating64(const PropertyValue& value);        ///< Floating64, FloatingTime
std::optional<std::u16string> AsString(const PropertyValue& value);    ///< String
std::optional<std::vector<std::u16string>> AsMultipleString(const PropertyValue& value);

/// The properties of one object by rising id, each id once.
class CPropertyBag {
public:
    /// Adds the value, or replaces the one of that id whatever its type.
    void Set(PropertyValue value);
    bool Remove(std::uint16_t id);
    const PropertyValue* Find(std::uint16_t id) const;
    bool Has(std::uint16_t id) const { return Find(id) != nullptr; }

    const std::vector<PropertyValue>& Values() const { return m_values; }
    bool IsEmpty() const { return m_values.empty(); }

private:
    std::vector<PropertyValue> m_values;
};

}  // namespace pastille::component::pst
