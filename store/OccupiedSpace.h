#pragma once

#include <cstdint>
#include <vector>

#include "store/BlockTable.h"

namespace pastille::store {

/// Stretches of the file that hold blocks, for asking whether another block could lie there.
class COccupiedSpace {
public:
    /// Blocks that touch or overlap the one added last take no memory of their own.
    void Add(const BlockRecord& record);
    /// Joins what overlaps. REQUIRES: called before Overlaps; more may be added afterwards.
    void Finish();
    bool Overlaps(const BlockRecord& record) const;

private:
    struct Stretch {
        std::uint64_t start;
        std::uint64_t end;
    };
    std::vector<Stretch> m_stretches;
};

}  // namespace pastille::store
