#include "store/Orphans.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>
#include <vector>

#include "format/Bytes.h"
#include "store/ReferenceSet.h"
#include "store/SourceStore.h"
#include "store/TrailerSearch.h"

namespace pastille::store {
namespace {

/// A block of the table that no node refers to and that may be part of an item. 16 bytes.
struct Candidate {
    std::uint64_t ib;
    std::uint32_t bid;
    bool isSubnodes;
    std::uint8_t heapMethods;
};

/// Looks at the first bytes of a block whose trailer was not found.
Candidate Look(CSourceStore& source, const BlockRecord& block)
{
    std::array<std::byte, kProbeBytes> stored;
    const auto head = std::span(stored).first(std::min<std::size_t>(stored.size(), block.cb));
    if (source.file.Read(block.ib, head) == 0)
        return {block.ib, block.bid, false, 0};
    const format::VariantLayout& layout = source.reader.Layout();
    return {block.ib, block.bid, IsMessageSubnodes(layout, block.cb, format::CByteView(head)),
            HeapMethods(source.reader.Kind(), layout, block.bid, head)};
}

/// How many of the blocks that have a trailer begin a heap under each method.
class CVotes {
public:
    void Add(std::uint8_t methods)
    {
        for (std::size_t i = 0; i < m_votes.size(); ++i)
            m_votes[i] += (methods & MethodBit(format::kCryptMethods[i])) != 0;
    }
    void Decide(CBlockReader& reader) const
    {
        const auto most = std::ranges::max_element(m_votes);
        if (*most != 0)
            reader.SetMethod(format::kCryptMethods[static_cast<std::size_t>(most - m_votes.begin())]);
    }

private:
    std::array<std::uint64_t, format::kCryptMethods.size()> m_votes{};
};

/// The blocks of the table that trailers told of, as candidates; the others as they are, to be looked at.
/// False when told not to proceed.
bool Sort(CSourceStore& source, std::span<const TrailerBlock> trailers, const std::function<bool()>& proceed,
          std::vector<Candidate>& candidates, std::vector<BlockRecord>& unknown)
{
    CVotes votes;
    auto trailer = trailers.begin();
    for (const BlockRecord& block : source.blocks.Records()) {
        if (!proceed())
            return false;
        while (trailer != trailers.end() && ByPlace(trailer->Record()) < ByPlace(block))
            ++trailer;
        const bool isKnown = trailer != trailers.end() && ByPlace(trailer->Record()) == ByPlace(block);
        if (isKnown)
            votes.Add(trailer->HeapMethods());
        if (source.references.Contains(block.bid))
            continue;
        if (!isKnown)
            unknown.push_back(block);
        else if (trailer->Has(TrailerBlock::kSubnodes) || trailer->HeapMethods() != 0)
            candidates.push_back(
                {block.ib, block.bid, trailer->Has(TrailerBlock::kSubnodes), trailer->HeapMethods()});
    }
    if (source.reader.IsMethodPending())
        votes.Decide(source.reader);
    return true;
}

void SortAsFound(std::vector<Candidate>& candidates, std::span<const std::uint32_t> found)
{
    std::ranges::sort(candidates, {},
                      [](const Candidate& candidate) { return std::pair(candidate.bid, candidate.ib); });
    std::vector<Candidate> sorted;
    std::vector<bool> isTaken(candidates.size());
    for (const std::uint32_t bid : found) {
        const auto at = std::ranges::lower_bound(candidates, bid, {}, &Candidate::bid);
        const auto number = static_cast<std::size_t>(at - candidates.begin());
        if (at != candidates.end() && at->bid == bid && !isTaken[number]) {
            isTaken[number] = true;
            sorted.push_back(*at);
        }
    }
    const auto named = static_cast<std::ptrdiff_t>(sorted.size());
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        if (!isTaken[i])
            sorted.push_back(candidates[i]);
    }
    std::ranges::sort(sorted.begin() + named, sorted.end(), {}, &Candidate::ib);
    candidates = std::move(sorted);
}

}  // namespace

void FindOrphans(CSourceStore& source, std::vector<TrailerBlock> trailers,
                 std::span<const std::uint32_t> found, const std::function<bool()>& proceed)
{
    std::vector<Candidate> candidates;
    std::vector<BlockRecord> unknown;
    if (!Sort(source, trailers, proceed, candidates, unknown))
        return;
    std::vector<TrailerBlock>().swap(trailers);
    std::ranges::sort(unknown, {}, &BlockRecord::ib);
    for (const BlockRecord& block : unknown) {
        if (!proceed())
            return;
        const Candidate candidate = Look(source, block);
        if (candidate.isSubnodes || candidate.heapMethods != 0)
            candidates.push_back(candidate);
    }
    SortAsFound(candidates, found);
    for (const auto& [ib, bid, isSubnodes, heapMethods] : candidates) {
        if (isSubnodes)
            source.orphans.push_back({0, bid});
        else if (!source.reader.IsMethodPending() && (heapMethods & MethodBit(source.reader.Method())) != 0)
            source.orphans.push_back({bid, 0});
    }
}

}  // namespace pastille::store
