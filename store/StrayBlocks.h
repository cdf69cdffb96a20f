#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "store/BlockTable.h"
#include "store/SourceFile.h"

namespace pastille::store {

/// Blocks found by their trailers alone, in files where a trailer tells enough to judge them. Space that was
/// freed and used again still holds old trailers, behind bytes that belong to another block by now.
class CStrayBlocks {
public:
    /// `crc` is the trailer's dwCRC over the block's stored bytes.
    void Add(const BlockRecord& record, std::uint32_t crc) { m_strays.push_back({record, crc}); }

    /// Puts into `blocks`, to which everything that tables name was appended before: the blocks whose bytes
    /// have their trailer's CRC, ahead of whatever else tables say of the same BID; and of the others those
    /// that no table names and that overlap no block named or sound. `proceed` ends it when it returns false.
    void Settle(CSourceFile& source, CBlockTable& blocks, const std::function<bool()>& proceed);

private:
    struct Stray {
        BlockRecord record;
        std::uint32_t crc;
    };

    bool IsSound(CSourceFile& source, const Stray& stray);

    std::vector<Stray> m_strays;
    std::vector<std::byte> m_buffer;
};

}  // namespace pastille::store
