#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "format/Bytes.h"
#include "format/NamedPropertyMap.h"
#include "platform/Text.h"

namespace pastille::writer {

/// One record of the property context of a source item. [MS-PST] 2.3.3.3
struct SourceProperty {
    std::uint16_t id;
    std::uint16_t type;   ///< as the record says it, which may be no type at all
    std::uint32_t value;  ///< the value itself, or an HNID
};

/// The source item whose properties are being written, as far as a writer may see it.
class IPropertySource {
public:
    virtual ~IPropertySource() = default;

    /// True when `value`, read as a heap identifier, stays inside the item's heap block.
    virtual bool PassesBoundsTest(std::uint32_t value) const = 0;
    /// The allocation of a heap identifier: start <= end <= size of the block. Valid while the item is read.
    virtual std::optional<format::CByteView> Allocation(std::uint32_t hid) const = 0;
    /// The same under the stricter conditions that a text value must meet before it is used.
    virtual std::optional<format::CByteView> Value(std::uint32_t hid) const = 0;
    /// Text of a PtypString or PtypString8 value, from the heap block or from the subnode that the HNID
    /// names;
    /// "" for other types and for values that are not there.
    virtual std::u16string StringValue(std::uint16_t type, std::uint32_t hnid) = 0;

    virtual const format::CNamedPropertyMap& NamedProperties() const = 0;
    virtual const platform::CCodePage& CodePage() const = 0;
    /// True for a source of the OST kind.
    virtual bool IsOst() const = 0;
    /// Name of the folder of the new store that the item was created in.
    virtual std::u16string TargetFolderName() = 0;
};

}  // namespace pastille::writer
