#include "recovery/complete/LostNameMap.h"

#include <algorithm>
#include <span>
#include <vector>

#include "format/Block.h"
#include "format/Ids.h"
#include "format/NameId.h"
#include "store/complete/FoundObject.h"

namespace pastille::recovery::complete {
namespace {

using store::complete::BlockRecord;
using store::complete::CFoundObject;
using store::complete::CSourceBlocks;
using store::complete::CSubnodes;
using store::complete::NodeReference;

/// BIDs between a map and its subnodes, which are written together.
constexpr std::uint64_t kNearby = 64;

bool MayBeMap(CSourceBlocks& blocks, const BlockRecord& record)
{
    constexpr std::size_t kClientSignatureAt = 3;
    const auto block = blocks.Read(record.Bid(), record.Place().isAtHome);
    if (!block.bytes)
        return false;
    const format::CByteView bytes(*block.bytes);
    if (format::Bid{record.Bid()}.IsInternal())
        return static_cast<bool>(format::CDataTreeBlock::Parse(blocks.Layout(), bytes));
    return bytes.ReadOrZero<std::uint8_t>(kClientSignatureAt) == format::clientsig::kPropertyContext;
}

/// The subnodes that the map's streams stand in; nothing when this is no map.
std::optional<std::vector<std::uint32_t>> StreamNodes(CFoundObject& map)
{
    if (!map.Open() || map.Number(format::namemap::kBucketCountId) != format::namemap::kBucketCount)
        return std::nullopt;
    std::vector<std::uint32_t> nids;
    for (const std::uint16_t id : {format::namemap::kGuidStreamId, format::namemap::kEntryStreamId,
                                   format::namemap::kStringStreamId}) {
        const auto* const record = map.Find(id);
        if (record == nullptr || record->tag.type != format::PropertyType::Binary)
            return std::nullopt;
        if (!format::IsHeapId(record->valueOrHnid))
            nids.push_back(record->valueOrHnid);
    }
    return nids;
}

/// The subnode tree near the map that has all of these; 0 when there is none, or none is needed.
std::uint64_t TreeOf(std::span<const BlockRecord> records, std::size_t map,
                     const std::vector<std::uint32_t>& nids, CSourceBlocks& blocks)
{
    const std::uint64_t bid = records[map].Bid();
    const auto first = std::ranges::lower_bound(records, bid - std::min(bid, kNearby), {}, &BlockRecord::Bid);
    for (auto at = first; !nids.empty() && at != records.end() && at->Bid() <= bid + kNearby; ++at) {
        if (!format::Bid{at->Bid()}.IsInternal())
            continue;
        const CSubnodes subnodes(blocks, at->Bid(), at->Place().isAtHome);
        if (std::ranges::all_of(nids, [&](std::uint32_t nid) { return subnodes.Find(nid) != nullptr; }))
            return at->Bid();
    }
    return 0;
}

}  // namespace

std::optional<NodeReference> FindLostNameMap(const store::complete::CScannedSource& source,
                                             CSourceBlocks& blocks)
{
    const auto records = source.blocks.Records();
    for (std::size_t i = records.size(); i-- > 0;) {
        if (!records[i].Place().isSound || !MayBeMap(blocks, records[i]))
            continue;
        NodeReference reference{records[i].Bid(), 0, records[i].Place().isAtHome};
        CFoundObject map(blocks, reference);
        const auto nids = StreamNodes(map);
        if (!nids)
            continue;
        reference.bidSub = TreeOf(records, i, *nids, blocks);
        return reference;
    }
    return std::nullopt;
}

}  // namespace pastille::recovery::complete
