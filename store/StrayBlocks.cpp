#include "store/StrayBlocks.h"

#include <algorithm>
#include <span>
#include <tuple>
#include <utility>

namespace pastille::store {
namespace {

auto TrailerPlace(const TrailerBlock& block)
{
    return ByPlace(block.Record());
}

bool IsProven(const TrailerBlock& block)
{
    return block.Has(TrailerBlock::kSigned) && block.Has(TrailerBlock::kSound);
}

bool HasMoved(const TrailerBlock& block)
{
    return !block.Has(TrailerBlock::kSigned) && block.Has(TrailerBlock::kSound);
}

/// What pages name, each once, by BID and place. `trailers` are in that order.
std::vector<BlockRecord> NamedBlocks(const format::VariantLayout& layout,
                                     std::span<const TrailerBlock> trailers, CBlockTable& blocks)
{
    std::vector<BlockRecord> named = blocks.Appended();
    std::ranges::sort(named, {}, ByPlace);
    if (!layout.wide) {  // what signed trailers told was appended among them
        auto trailer = trailers.begin();
        std::erase_if(named, [&](const BlockRecord& record) {
            while (trailer != trailers.end() &&
                   (!trailer->Has(TrailerBlock::kSigned) || TrailerPlace(*trailer) < ByPlace(record)))
                ++trailer;
            if (trailer == trailers.end() || TrailerPlace(*trailer) != ByPlace(record))
                return false;
            ++trailer;
            return true;
        });
    }
    const auto same = [](const BlockRecord& left, const BlockRecord& right) {
        return ByPlace(left) == ByPlace(right);
    };
    named.erase(std::unique(named.begin(), named.end(), same), named.end());
    return named;
}

/// Chooses, BID by BID, what the table gets. A hostile file may have as many BIDs as it has room for
/// trailers, so nothing is kept of a BID between the steps.
class CSettlement {
public:
    CSettlement(const format::VariantLayout& layout, std::span<const TrailerBlock> trailers,
                CBlockTable& blocks, ScanFindings& findings)
        : m_wide(layout.wide),
          m_trailers(trailers),
          m_blocks(blocks),
          m_findings(findings),
          m_named(NamedBlocks(layout, trailers, blocks))
    {
    }

    /// `proven`: where proven blocks lie.
    void Run(COccupiedSpace occupied)
    {
        bool allProven = true;
        ForEachBid([&](Blocks blocks, Named named) {
            m_findings.strayBlocks += named.empty() && std::ranges::any_of(blocks, IsProven);
            if (std::ranges::none_of(blocks, IsProven))
                allProven = false;
            else if (m_wide)
                PreferProven(blocks, named);
        });
        if (allProven)
            return;
        std::vector<BlockRecord> moved;
        ForEachBid([&](Blocks blocks, Named named) { ChooseMoved(blocks, named, occupied, moved); });
        for (const BlockRecord& record : moved)
            m_blocks.Prefer(record);
        for (const TrailerBlock& block : m_trailers) {  // second copies lie somewhere, too
            if (HasMoved(block))
                occupied.Add(block.Record());
        }
        for (const BlockRecord& record : m_named)
            occupied.Add(record);
        occupied.Finish();
        ForEachBid([&](Blocks blocks, Named named) {
            const bool isKnown = !named.empty() || std::ranges::any_of(blocks, IsProven) ||
                                 std::ranges::binary_search(moved, blocks[0].Bid(), {}, &BlockRecord::bid);
            if (!isKnown)
                TakeDamaged(blocks, occupied);
        });
    }

private:
    using Blocks = std::span<const TrailerBlock>;  ///< of one BID, by place
    using Named = std::span<const BlockRecord>;

    template <class Visit>
    void ForEachBid(const Visit& visit) const
    {
        auto named = m_named.begin();
        for (auto first = m_trailers.begin(); first != m_trailers.end();) {
            const std::uint32_t bid = first->Bid();
            const auto last = std::find_if(first, m_trailers.end(),
                                           [&](const TrailerBlock& block) { return block.Bid() != bid; });
            named = std::find_if(named, m_named.end(),
                                 [&](const BlockRecord& record) { return record.bid >= bid; });
            const auto namedEnd = std::find_if(named, m_named.end(),
                                               [&](const BlockRecord& record) { return record.bid != bid; });
            visit(Blocks(first, last), Named(named, namedEnd));
            first = last;
        }
    }

    /// A block that pages name in one place needs no proof; of several places the trailer tells the true one.
    void PreferProven(Blocks blocks, Named named)
    {
        auto chosen = std::ranges::find_if(blocks, [&](const TrailerBlock& block) {
            return IsProven(block) && std::ranges::binary_search(named, TrailerPlace(block), {}, ByPlace);
        });
        if (chosen != blocks.end() && named.size() == 1)
            return;
        if (chosen == blocks.end())
            chosen = std::ranges::find_if(blocks, IsProven);
        m_blocks.Prefer(chosen->Record());
    }

    void ChooseMoved(Blocks blocks, Named named, const COccupiedSpace& proven,
                     std::vector<BlockRecord>& moved) const
    {
        if (std::ranges::any_of(blocks, IsProven))
            return;
        const auto chosen = std::ranges::find_if(blocks, [&](const TrailerBlock& block) {
            return HasMoved(block) && !proven.Overlaps(block.Record());
        });
        if (chosen == blocks.end())
            return;
        moved.push_back(chosen->Record());
        m_findings.strayBlocks += named.empty();
    }

    void TakeDamaged(Blocks blocks, const COccupiedSpace& occupied)
    {
        const auto isSigned = [](const TrailerBlock& block) { return block.Has(TrailerBlock::kSigned); };
        const auto fits = [&](const TrailerBlock& block) { return !occupied.Overlaps(block.Record()); };
        const bool isAppended = !m_wide && std::ranges::any_of(blocks, isSigned);
        if (!isAppended) {
            // A right signature says more than none.
            auto found = std::ranges::find_if(
                blocks, [&](const TrailerBlock& block) { return isSigned(block) && fits(block); });
            if (found == blocks.end())
                found = std::ranges::find_if(blocks, fits);
            if (found == blocks.end())
                return;
            m_blocks.Prefer(found->Record());
        }
        ++m_findings.strayBlocks;
        ++m_findings.doubtfulBlocks;
    }

    bool m_wide;
    std::span<const TrailerBlock> m_trailers;  ///< by BID and place
    CBlockTable& m_blocks;
    ScanFindings& m_findings;
    std::vector<BlockRecord> m_named;  ///< by BID and place, each once
};

}  // namespace

void SettleStrayBlocks(const format::VariantLayout& layout, COccupiedSpace pages,
                       std::vector<TrailerBlock>& trailers, CBlockTable& blocks, ScanFindings& findings)
{
    COccupiedSpace proven = std::move(pages);
    for (const TrailerBlock& block : trailers) {
        if (IsProven(block))
            proven.Add(block.Record());
    }
    proven.Finish();
    std::ranges::sort(trailers, {}, TrailerPlace);
    CSettlement(layout, trailers, blocks, findings).Run(std::move(proven));
}

}  // namespace pastille::store
