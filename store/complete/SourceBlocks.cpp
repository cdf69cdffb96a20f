#include "store/complete/SourceBlocks.h"

#include <algorithm>
#include <memory>
#include <span>
#include <utility>

#include "format/Block.h"
#include "format/UnpackBlock.h"

namespace pastille::store::complete {

using Reason = SourceFault::Reason;

SourceBlock CSourceBlocks::Read(std::uint64_t bid, bool isAtHome)
{
    ++m_uses;
    Cached* oldest = &m_cache.front();
    for (Cached& cached : m_cache) {
        if (cached.lastUse != 0 && cached.bid == bid && cached.isAtHome == isAtHome) {
            cached.lastUse = m_uses;
            return cached.block;
        }
        if (cached.lastUse < oldest->lastUse)
            oldest = &cached;
    }
    const auto place = m_source.blocks.Find(bid, isAtHome);
    if (!place)
        return {nullptr, 0, SourceFault{Reason::BlockMissing, bid, std::nullopt}};
    SourceBlock block = ReadPlace(bid, *place);
    *oldest = {bid, isAtHome, m_uses, block};
    return block;
}

SourceBlock CSourceBlocks::ReadPlace(std::uint64_t bid, const BlockPlace& place)
{
    const format::VariantLayout& layout = Layout();
    SourceBlock block{nullptr, place.size, std::nullopt};
    const std::uint64_t extent = format::BlockExtent(layout, place.size);
    std::vector<std::byte> bytes(static_cast<std::size_t>(extent));
    m_source.file.Read(place.offset, bytes);
    const auto trailer =
        format::ParseBlockTrailer(layout, format::CByteView(bytes), place.size, place.offset, bid);
    const bool isNamed = trailer && (trailer->faults & format::kBlockBadBid) == 0;
    const bool isSound = isNamed && (trailer->faults & ~format::kBlockBadSignature) == 0;
    if (!isSound) {
        block.fault = SourceFault{Reason::BlockDamaged, bid, place.offset};
        if (!trailer || (!isNamed && IsTakenByAnother(trailer->trailer.bid, bid, place.offset + extent)))
            return block;
    }
    bytes.resize(place.size);
    // Bit 0 takes part in the encoding, as the program set it that wrote the block.
    const std::uint64_t ownBid = isNamed ? trailer->trailer.bid : bid;
    const std::size_t inflatedSize = isNamed ? trailer->trailer.inflatedSize : 0;
    if (!format::UnpackBlock(layout, m_source.method, ownBid, inflatedSize, bytes)) {
        block.fault = SourceFault{Reason::BlockDamaged, bid, place.offset};
        return block;
    }
    if (bytes.empty())
        return block;
    block.bytes = std::make_shared<const std::vector<std::byte>>(std::move(bytes));
    return block;
}

/// True when the space up to `end` belongs to a sound block of another BID, which its trailer names.
bool CSourceBlocks::IsTakenByAnother(std::uint64_t namedBid, std::uint64_t bid, std::uint64_t end) const
{
    if (((namedBid ^ bid) & ~std::uint64_t{1}) == 0)
        return false;
    for (const bool isAtHome : {true, false}) {
        const auto other = m_source.blocks.Find(namedBid, isAtHome);
        if (other && other->isSound && other->offset + format::BlockExtent(Layout(), other->size) == end)
            return true;
    }
    return false;
}

}  // namespace pastille::store::complete
