#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace pastille::store {

struct CSourceStore;
class TrailerBlock;

/// A block of the source that no node refers to, found by a Smart Scan. One of the two is 0.
struct OrphanRecord {
    std::uint32_t bidData;  ///< a property context
    std::uint32_t bidSub;   ///< a subnode block that begins with an attachment table
};

/// Fills the orphan list of a source whose node and block tables are finished, in the order in which the scan
/// found the blocks: `found` has their BIDs, repeats included; those not in it come last, by their offset. A
/// crypt method that is not known yet is found on the way: the one under which most blocks begin a heap;
/// without one no property context is told from other blocks. `trailers` are those of the block scan: what
/// they tell need not be read again. `proceed` is asked before each block; false ends the search.
void FindOrphans(CSourceStore& source, std::vector<TrailerBlock> trailers,
                 std::span<const std::uint32_t> found, const std::function<bool()>& proceed);

}  // namespace pastille::store
