#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "format/Bytes.h"
#include "format/Fault.h"
#include "format/Heap.h"
#include "format/PropertyTag.h"

namespace pastille::format {

/// One record of a property context: the tag and what stands in dwValueHnid. [MS-PST] 2.3.3.3
struct PropertyContextRecord {
    PropertyTag tag;
    std::uint32_t valueOrHnid = 0;
};

/// How a value of a type is kept.
struct PropertyStorageRule {
    std::size_t fixedSize = 0;       ///< bytes of every value of the type; 0: the values vary in length
    bool isInlineInContext = false;  ///< at most 4 bytes: stands in dwValueHnid itself
    std::size_t cellSize = 4;        ///< cbData of a table column: the value itself, or 4 for an HNID
    bool isInlineInCell = false;     ///< the table cell holds the value, not an HNID
};

/// Of an unknown type: varying length, in a heap item. [MS-PST] 2.3.3.3, 2.3.4.4.2
PropertyStorageRule StorageRuleOf(PropertyType type);

/// True of the types that a property can have. [MS-OXCDATA] 2.11.1
bool IsKnownType(PropertyType type);

/// Bytes of one element of a multi-valued type with fixed-size elements; 0 for all other types.
std::size_t MultipleElementSize(PropertyType type);

/// The elements of a multi-valued property with elements of varying length (strings, binaries); a fault when
/// an offset lies outside or they fall. [MS-PST] 2.3.3.4.2
Result<std::vector<CByteView>> SplitMultiple(CByteView value);
/// Such a value, put together.
std::vector<std::byte> JoinMultiple(const std::vector<std::vector<std::byte>>& elements);

/// All records of the property context in a heap, in stored order. Records of damaged parts are left out and
/// the first fault noted. [MS-PST] 2.3.3
struct PropertyContextRecords {
    std::vector<PropertyContextRecord> records;
    std::optional<Fault> fault;
};
/// A fault when the heap is no property context at all.
Result<PropertyContextRecords> ReadPropertyContext(const CHeapView& heap);

}  // namespace pastille::format
