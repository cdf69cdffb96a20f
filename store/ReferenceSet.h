#pragma once

#include <cstdint>
#include <vector>

#include "store/NodeList.h"

namespace pastille::store {

/// The blocks that nodes with subnodes name as their data and as their subnodes. Blocks of other nodes are
/// not in it. 8 bytes for each such node at most.
class CReferenceSet {
public:
    void Build(const CNodeList& nodes);
    void Clear() { std::vector<std::uint32_t>().swap(m_bids); }
    /// True for 0, which refers to nothing.
    bool Contains(std::uint32_t bid) const;

private:
    std::vector<std::uint32_t> m_bids;  ///< sorted
};

}  // namespace pastille::store
