#pragma once

#include <cstdint>

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ndb/NodeDatabase.h"
#include "format/Heap.h"

namespace pastille::component::pst {

/// Where the HNIDs of a property context or table lead: its heap, and its node's subnodes.
struct ValuePlaces {
    INodeDatabase& database;
    const format::CHeapView& heap;
    format::Bid subnodes;
};

/// Bytes of the value behind an HNID. Raises CFormatError when it leads nowhere. [MS-PST] 2.3.3.2
std::uint64_t StoredSize(const ValuePlaces& places, std::uint32_t hnid);

/// The value behind an HNID; one of more than `inlineBytes` in a subnode as a tree. Raises CFormatError when
/// the HNID leads nowhere or the size does not fit the type.
PropertyValue ReadStoredValue(const ValuePlaces& places, format::PropertyTag tag, std::uint32_t hnid,
                              std::uint64_t inlineBytes);

}  // namespace pastille::component::pst
