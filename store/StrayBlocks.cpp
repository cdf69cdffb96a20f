#include "store/StrayBlocks.h"

#include <algorithm>
#include <span>
#include <tuple>

#include "format/Checksum.h"

namespace pastille::store {
namespace {

auto ByBid(const BlockRecord& record)
{
    return std::tuple(record.bid, record.ib, record.cb);
}

/// Stretches of the file that hold blocks, for asking whether another block could lie there.
class COccupiedSpace {
public:
    void Add(const BlockRecord& record) { m_stretches.push_back({record.ib, record.ib + record.cb}); }

    /// Joins what overlaps. REQUIRES: called once, before Overlaps.
    void Finish()
    {
        std::ranges::sort(m_stretches, {}, &Stretch::start);
        std::size_t kept = 0;
        for (const Stretch& stretch : m_stretches) {
            if (kept != 0 && stretch.start <= m_stretches[kept - 1].end)
                m_stretches[kept - 1].end = std::max(m_stretches[kept - 1].end, stretch.end);
            else
                m_stretches[kept++] = stretch;
        }
        m_stretches.resize(kept);
    }

    bool Overlaps(const BlockRecord& record) const
    {
        const auto next = std::ranges::upper_bound(m_stretches, record.ib, {}, &Stretch::end);
        return next != m_stretches.end() && next->start < record.ib + record.cb;
    }

private:
    struct Stretch {
        std::uint64_t start;
        std::uint64_t end;
    };
    std::vector<Stretch> m_stretches;
};

}  // namespace

void CStrayBlocks::Settle(CSourceFile& source, CBlockTable& blocks, const std::function<bool()>& proceed)
{
    std::vector<BlockRecord> named = blocks.Appended();
    std::ranges::sort(named, {}, ByBid);
    // A block that the tables name in one place needs no proof; of several places the trailer tells the true
    // one.
    std::erase_if(m_strays, [&](const Stray& stray) {
        const auto first = std::ranges::lower_bound(named, stray.record.bid, {}, &BlockRecord::bid);
        const auto last = std::ranges::upper_bound(named, stray.record.bid, {}, &BlockRecord::bid);
        return first != last && ByBid(*first) == ByBid(stray.record) &&
               ByBid(*std::prev(last)) == ByBid(stray.record);
    });

    COccupiedSpace occupied;
    for (const BlockRecord& record : named)
        occupied.Add(record);
    std::vector<BlockRecord> doubtful;
    for (const Stray& stray : m_strays) {
        if (!proceed())
            return;
        if (IsSound(source, stray)) {
            blocks.Prefer(stray.record);
            occupied.Add(stray.record);
        } else {
            doubtful.push_back(stray.record);
        }
    }
    occupied.Finish();
    for (const BlockRecord& record : doubtful) {
        const bool isNamed = std::ranges::binary_search(named, record.bid, {}, &BlockRecord::bid);
        if (!isNamed && !occupied.Overlaps(record))
            blocks.Append(record);
    }
}

bool CStrayBlocks::IsSound(CSourceFile& source, const Stray& stray)
{
    m_buffer.resize(stray.record.cb);
    return source.Read(stray.record.ib, m_buffer) == m_buffer.size() &&
           format::ComputeCrc(m_buffer) == stray.crc;
}

}  // namespace pastille::store
