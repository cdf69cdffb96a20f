#pragma once

#include <cstdint>

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ndb/NdbWriter.h"

namespace pastille::component::pst {

/// Roots of a node's two trees, as PutNode and CSubnodeTreeWriter::Add take them, and what they take.
struct NodeContent {
    format::Bid data;
    format::Bid sub;
    std::uint64_t dataSize = 0;     ///< bytes of the data tree
    std::uint64_t subnodeSize = 0;  ///< bytes of the values that went into subnodes here
};

/// Writes the bag as a property context: heap, property BTH, values of more than 3580 bytes in subnodes.
/// `subnodes` are the node's further subnodes (recipient table, attachments); those of the values are added
/// to it. Raises std::invalid_argument when a value of a fixed size has another, and what the writer raises.
/// [MS-PST] 2.3.3
NodeContent WritePropertyContext(CNdbWriter& writer, const CPropertyBag& bag, CSubnodeTreeWriter& subnodes);
NodeContent WritePropertyContext(CNdbWriter& writer, const CPropertyBag& bag);

}  // namespace pastille::component::pst
