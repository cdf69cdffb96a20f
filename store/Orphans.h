#pragma once

#include <cstdint>

namespace pastille::store {

/// A block of the source that no node refers to, found by a Smart Scan. One of the two is 0.
struct OrphanRecord {
    std::uint32_t bidData;  ///< a property context
    std::uint32_t bidSub;   ///< a subnode block that begins with an attachment table
};

}  // namespace pastille::store
