#pragma once

#include <cstdint>
#include <vector>

#include "store/BlockTable.h"

namespace pastille::store {

/// Stretches of the file that hold something, for asking whether a block could lie there.
class COccupiedSpace {
public:
    /// What touches or overlaps the stretch added last takes no memory of its own.
    void Add(std::uint64_t offset, std::uint64_t length);
    void Add(const BlockRecord& record) { Add(record.ib, record.cb); }
    void Add(const COccupiedSpace& other);
    /// Joins what overlaps. REQUIRES: called before Overlaps; more may be added afterwards.
    void Finish();
    bool Overlaps(std::uint64_t offset, std::uint64_t length) const;
    bool Overlaps(const BlockRecord& record) const { return Overlaps(record.ib, record.cb); }

private:
    struct Stretch {
        std::uint64_t start;
        std::uint64_t end;
    };
    std::vector<Stretch> m_stretches;
};

}  // namespace pastille::store
