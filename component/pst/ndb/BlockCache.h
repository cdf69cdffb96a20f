#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "format/Heap.h"

namespace pastille::component::pst {

/// Keeps the blocks read last, so that neighbouring rows and heap items cost one read.
class CBlockCache {
public:
    format::SharedBytes Find(std::uint64_t bid)
    {
        for (Slot& slot : m_slots)
            if (slot.bid == bid && slot.bytes) {
                slot.used = ++m_clock;
                return slot.bytes;
            }
        return nullptr;
    }
    void Insert(std::uint64_t bid, format::SharedBytes bytes)
    {
        Slot* oldest = &m_slots[0];
        for (Slot& slot : m_slots)
            if (slot.used < oldest->used)
                oldest = &slot;
        *oldest = {bid, ++m_clock, std::move(bytes)};
    }

private:
    struct Slot {
        std::uint64_t bid = 0;
        std::uint64_t used = 0;
        format::SharedBytes bytes;
    };
    std::array<Slot, 32> m_slots;
    std::uint64_t m_clock = 0;
};

}  // namespace pastille::component::pst
