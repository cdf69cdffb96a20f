#include "store/complete/SourceBlocks.h"

#include <algorithm>
#include <memory>
#include <span>
#include <utility>

#include "format/Block.h"
#include "format/Checksum.h"
#include "format/Ids.h"
#include "format/Inflate.h"
#include "format/UnpackBlock.h"
#include "store/complete/DataLeaves.h"

namespace pastille::store::complete {

using Reason = SourceFault::Reason;

namespace {

/// What all trees together may have in one run: a sound file's are read several times each.
constexpr std::uint64_t kLeavesPerBlock = 64, kFewLeaves = 10'000'000;

struct Stretch {
    std::size_t begin, end;
};

/// Where bytes of a damaged block have been erased: long runs of zeros, and all of it when there is nothing
/// else. What is encoded has none.
std::vector<Stretch> ErasedStretches(std::span<const std::byte> bytes)
{
    constexpr std::size_t kShortest = 64;
    std::vector<Stretch> erased;
    for (std::size_t begin = 0, end = 0; begin < bytes.size(); begin = end + 1) {
        end = begin;
        while (end < bytes.size() && bytes[end] == std::byte{0})
            ++end;
        if (end - begin >= std::min(kShortest, bytes.size()))
            erased.push_back({begin, end});
    }
    return erased;
}

bool IsErased(std::span<const std::byte> bytes)
{
    return std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte{0}; });
}

/// True when a trailer was made for a block of that BID in that place, whatever BID it names now.
bool IsSignedFor(const format::BlockTrailer& trailer, const BlockPlace& place, std::uint64_t bid)
{
    return trailer.size == place.size &&
           (trailer.signature == format::ComputeSignature(place.offset, bid) ||
            trailer.signature == format::ComputeSignature(place.offset, bid | 1));
}

/// The size that a packed block has without its trailer, which tells it: that of the whole stream which its
/// bytes are; 0 when they are none.
std::size_t InflatedSizeOf(const format::VariantLayout& layout, format::CryptMethod method, std::uint64_t bid,
                           std::span<const std::byte> bytes)
{
    if (layout.variant != format::Variant::Unicode4k)
        return 0;
    std::vector<std::byte> output(layout.largestBlock);
    if (const auto plain = format::Inflate(bytes, output); plain.isWhole)
        return plain.produced;
    if (format::Bid{bid}.IsInternal() || method == format::CryptMethod::None)
        return 0;
    std::vector<std::byte> decoded(bytes.begin(), bytes.end());
    format::DecodeBlock(method, bid, decoded);
    const auto inner = format::Inflate(decoded, output);
    return inner.isWhole ? inner.produced : 0;
}

}  // namespace

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
        if (!trailer || (!isNamed && IsOfAnother(*trailer, place, bid, bytes)))
            return block;
    }
    bytes.resize(place.size);
    const std::vector<Stretch> erased = isSound ? std::vector<Stretch>() : ErasedStretches(bytes);
    if (!erased.empty() && erased.front().end - erased.front().begin == bytes.size())
        return block;
    // Bit 0 takes part in the encoding, as the program set it that wrote the block.
    const std::uint64_t ownBid = isNamed ? trailer->trailer.bid : bid;
    const std::size_t inflatedSize =
        isNamed ? trailer->trailer.inflatedSize : InflatedSizeOf(layout, m_source.method, bid, bytes);
    if (!format::UnpackBlock(layout, m_source.method, ownBid, inflatedSize, bytes)) {
        block.fault = SourceFault{Reason::BlockDamaged, bid, place.offset};
        return block;
    }
    if (bytes.empty())
        return block;
    if (bytes.size() == place.size) {
        for (const Stretch& stretch : erased)
            std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(stretch.begin),
                        stretch.end - stretch.begin, std::byte{0});
    }
    block.bytes = std::make_shared<const std::vector<std::byte>>(std::move(bytes));
    return block;
}

std::optional<std::uint32_t> CSourceBlocks::StoredSize(std::uint64_t bid, bool isAtHome) const
{
    const auto place = m_source.blocks.Find(bid, isAtHome);
    return place ? std::optional(place->size) : std::nullopt;
}

std::shared_ptr<const DataLeaves> CSourceBlocks::Leaves(std::uint64_t bid, bool isAtHome)
{
    CachedTree* oldest = &m_trees.front();
    for (CachedTree& cached : m_trees) {
        if (cached.leaves && cached.bid == bid && cached.isAtHome == isAtHome) {
            cached.lastUse = ++m_uses;
            return cached.leaves;
        }
        if (cached.lastUse < oldest->lastUse)
            oldest = &cached;
    }
    if (!m_leavesLeft)
        m_leavesLeft = kLeavesPerBlock * Count() + kFewLeaves;
    auto leaves = std::make_shared<const DataLeaves>(ReadDataLeaves(*this, bid, isAtHome, *m_leavesLeft));
    *oldest = {bid, isAtHome, ++m_uses, leaves};
    return leaves;
}

/// Judges a block whose trailer names another BID, or none. A tree block shows itself what it is.
bool CSourceBlocks::IsOfAnother(const format::CheckedBlockTrailer& checked, const BlockPlace& place,
                                std::uint64_t bid, std::span<const std::byte> extent) const
{
    if (IsSignedFor(checked.trailer, place, bid))
        return false;
    if (!format::Bid{bid}.IsInternal())
        return !IsErased(extent.last(Layout().blockTrailerSize));
    for (const bool isAtHome : {true, false}) {
        const auto other = m_source.blocks.Find(checked.trailer.bid, isAtHome);
        const std::uint64_t end = other ? other->offset + format::BlockExtent(Layout(), other->size) : 0;
        if (other && other->isSound && end == place.offset + extent.size())
            return true;
    }
    return false;
}

}  // namespace pastille::store::complete
