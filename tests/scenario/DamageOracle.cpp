#include "tests/scenario/DamageOracle.h"

#include <algorithm>

#include "format/Bytes.h"
#include "format/Checksum.h"

namespace pastille::tests {

CDamageOracle::CDamageOracle(const CBuiltStore& sound, Bytes damaged, const Options& options)
    : m_directory(sound.Directory()),
      m_before(sound.Content()),
      m_after(std::move(damaged)),
      m_options(options),
      m_layout(format::LayoutOf(sound.Format().variant))
{
    for (const StorePlace& place : m_directory.places) {
        const std::uint64_t at = Moved(place.offset);
        // Pages are looked for at multiples of their size only.
        if (at % m_layout.pageSize != 0 || at + m_layout.pageSize > m_after.size())
            continue;
        if (place.kind == PlaceKind::NbtLeaf)
            ReadNodePage(at);
        else if (place.kind == PlaceKind::BbtLeaf)
            ReadBlockPage(at);
    }
    m_cryptIsTold = std::ranges::any_of(m_directory.places, [&](const StorePlace& place) {
        return place.name.ends_with("/data") && HasTrailer(place) && IsUnchanged(place.offset, place.stored);
    });
    for (const Entry& entry : m_nodes) {
        if (entry.bidSub != 0)
            m_referenced.insert({entry.bidData, entry.bidSub});
    }
}

std::uint64_t CDamageOracle::Moved(std::uint64_t offset) const
{
    return offset < m_options.insertedAt ? offset : offset + m_options.insertedBytes;
}

bool CDamageOracle::IsUnchanged(std::uint64_t offset, std::uint64_t length) const
{
    const std::uint64_t now = Moved(offset);
    return now + length <= m_after.size() && Moved(offset + length - 1) - now == length - 1 &&
           std::equal(m_before.begin() + offset, m_before.begin() + offset + length, m_after.begin() + now);
}

template <class Integer>
Integer CDamageOracle::At(std::uint64_t offset) const
{
    return format::LoadLE<Integer>(m_after, offset);
}

std::uint64_t CDamageOracle::Key(std::uint64_t offset) const
{
    return m_layout.wide ? At<std::uint64_t>(offset) : At<std::uint32_t>(offset);
}

bool CDamageOracle::IsSigned(std::uint64_t page) const
{
    return At<std::uint16_t>(page + m_layout.signatureOffset) ==
           format::ComputeSignature(page, At<std::uint32_t>(page + m_layout.pageBidOffset));
}

/// A leaf counts whatever its signature; its entries up to the first without a node.
void CDamageOracle::ReadNodePage(std::uint64_t page)
{
    if (At<std::uint16_t>(page + m_layout.typeOffset) != format::pageword::kNbt ||
        At<std::uint8_t>(page + m_layout.entrySizeOffset) != m_layout.nodeEntrySize)
        return;
    for (std::size_t at = 0; at + m_layout.nodeEntrySize <= m_layout.entryAreaEnd;
         at += m_layout.nodeEntrySize) {
        const std::size_t key = m_layout.keyWidth;
        const Entry entry{At<std::uint32_t>(page + at), At<std::uint32_t>(page + at + key),
                          At<std::uint32_t>(page + at + 2 * key)};
        if (entry.nid == 0)
            return;
        m_nodes.push_back(entry);
    }
}

/// A leaf counts when its signature is right and its counts are possible; its entries up to the first that
/// cannot be true.
void CDamageOracle::ReadBlockPage(std::uint64_t page)
{
    const auto count = At<std::uint8_t>(page + m_layout.countOffset);
    const auto maximum = At<std::uint8_t>(page + m_layout.maximumCountOffset);
    const auto size = At<std::uint8_t>(page + m_layout.entrySizeOffset);
    if (At<std::uint16_t>(page + m_layout.typeOffset) != format::pageword::kBbt || !IsSigned(page) ||
        (size != m_layout.blockEntrySize && size != m_layout.nodeEntrySize) || maximum == 0 ||
        count > maximum)
        return;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t at = page + i * m_layout.blockEntrySize;
        const std::uint64_t bid = Key(at), ib = Key(at + m_layout.keyWidth);
        const auto cb = At<std::uint16_t>(at + 2 * m_layout.keyWidth);
        if (bid == 0 || ib == 0 || ib >= m_after.size() || ib % 16 != 0 || cb == 0 || cb > 65512)
            return;
        m_blocks[bid].insert({ib, cb});
    }
}

/// The trailer and the padding before it, by which the block's start is told. Its signature is right for the
/// place only where the block has not moved; a Smart Scan does without.
bool CDamageOracle::HasTrailer(const StorePlace& block) const
{
    const std::uint64_t start = Moved(block.offset);
    return (start == block.offset || m_options.smartScan) &&
           Moved(block.offset + block.stored) == start + block.stored &&
           IsUnchanged(block.offset + block.stored, block.extent - block.stored);
}

/// Where a page names a wrong place, only wide files tell by the trailer's CRC that it is wrong. In narrow
/// ones that goes for moved blocks alone.
bool CDamageOracle::IsFound(const StorePlace& block) const
{
    const auto entries = m_blocks.find(block.bid);
    const std::set<Location> place{{Moved(block.offset), block.stored}};
    if (entries != m_blocks.end() && entries->second == place)
        return true;
    const bool isTold = m_layout.wide || entries == m_blocks.end() || Moved(block.offset) != block.offset;
    return isTold && HasTrailer(block);
}

std::uint32_t CDamageOracle::BidOf(const std::string& block) const
{
    const auto found = std::ranges::find(m_directory.places, block, &StorePlace::name);
    return found == m_directory.places.end() ? 0 : static_cast<std::uint32_t>(found->bid);
}

bool CDamageOracle::HasContext(const std::string& label) const
{
    const StorePlace& block = m_directory.Find(label + "/data");
    return IsFound(block) && IsUnchanged(block.offset, block.stored);
}

bool CDamageOracle::HasNode(const std::string& label) const
{
    const std::uint32_t data = BidOf(label + "/data"), subnodes = BidOf(label + "/subnodes");
    const auto nid = m_directory.nodes.find(label);
    const bool isFolder = label.starts_with("folder ");
    return std::ranges::any_of(m_nodes, [&](const Entry& entry) {
        return entry.bidData == data && entry.bidSub == subnodes && (!isFolder || entry.nid == nid->second);
    });
}

bool CDamageOracle::IsOrphan(const std::string& label) const
{
    return m_options.smartScan && m_cryptIsTold && HasContext(label) &&
           !m_referenced.contains(BidOf(label + "/data"));
}

bool CDamageOracle::IsWhole(const std::string& label) const
{
    return std::ranges::all_of(m_directory.places, [&](const StorePlace& place) {
        return !place.name.starts_with(label + "/") ||
               (IsFound(place) && IsUnchanged(place.offset, place.stored));
    });
}

}  // namespace pastille::tests
