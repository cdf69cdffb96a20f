#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "store/complete/SourceBlocks.h"

namespace pastille::store::complete {

/// The data blocks of a tree, as far as its own blocks tell. [MS-PST] 2.2.2.8.3.2
struct DataLeaves {
    std::vector<std::uint64_t> bids;  ///< in order; 0: not known
    std::uint64_t size = 0;           ///< data bytes, never less than what the leaves give
    std::uint64_t known = 0;          ///< stored bytes of those leaves that the file has
    std::optional<SourceFault>
        fault;  ///< of the tree's blocks; Structure when its size is not what it states
};

/// Reads the tree below an internal block, not the leaves. A sound tree names a block once, so there are
/// leaves for few more than the blocks of the file. `left`: blocks and leaves that may still be looked at;
/// with none the tree is empty and has a fault.
DataLeaves ReadDataLeaves(CSourceBlocks& blocks, std::uint64_t bid, bool isAtHome, std::uint64_t& left);

}  // namespace pastille::store::complete
