#include "store/complete/TreePages.h"

#include <algorithm>

#include "format/Checksum.h"

namespace pastille::store::complete {
namespace {

using format::CByteView;
using format::PageType;
using format::VariantLayout;

std::size_t CountOf(const VariantLayout& layout, CByteView bytes)
{
    return layout.countWidth == 2 ? bytes.ReadOrZero<std::uint16_t>(layout.countOffset)
                                  : bytes.ReadOrZero<std::uint8_t>(layout.countOffset);
}

/// Whether the counters are those of a page of that tree and level. Sound pages may pack their entries
/// loosely.
bool HasTreeCounters(const VariantLayout& layout, CByteView bytes, const TreePage& page)
{
    const std::size_t entrySize = bytes.ReadOrZero<std::uint8_t>(layout.entrySizeOffset);
    const std::size_t usual = format::TreeEntrySize(layout, page.type, page.level);
    if (page.level > kMostLevels || entrySize < usual)
        return false;
    // With a wrong CRC the count may be the damage.
    return page.isSound ? CountOf(layout, bytes) <= format::TreePageCapacity(layout, entrySize)
                        : entrySize == usual;
}

/// Reads the entries of a page one by one. `decode` gives nothing for what cannot be an entry; `key` orders
/// them.
template <class Entry, class Decode, class Key>
PageEntries<Entry> ReadEntries(const VariantLayout& layout, const TreePage& page, CByteView bytes,
                               const Decode& decode, const Key& key)
{
    const std::size_t entrySize = bytes.ReadOrZero<std::uint8_t>(layout.entrySizeOffset);
    const std::size_t counted = CountOf(layout, bytes);
    PageEntries<Entry> read;
    if (entrySize < format::TreeEntrySize(layout, page.type, page.level))
        return read;
    const std::size_t capacity = format::TreePageCapacity(layout, entrySize);
    const std::size_t count = page.isSound ? std::min(counted, capacity) : capacity;
    const auto entryAt = [&](std::size_t index) {
        const auto place = index < count ? bytes.Sub(index * entrySize, entrySize) : std::nullopt;
        return place ? decode(*place) : std::optional<Entry>();
    };
    std::uint64_t last = 0;
    for (std::size_t i = 0; i < count; ++i) {
        // What stands behind the counted entries is left of others, but the count itself may be wrong.
        if (!page.isSound && i >= counted && bytes.ReadKey(i * entrySize, layout.keyWidth).value_or(0) == 0)
            break;
        const auto entry = entryAt(i);
        if (!entry || (!page.isSound && key(*entry) <= last))
            continue;
        const auto next = page.isSound ? std::nullopt : entryAt(i + 1);
        if (next && key(*next) <= key(*entry) && i + 1 < counted)
            continue;
        last = key(*entry);
        read.entries.push_back(*entry);
    }
    read.isComplete = read.entries.size() == counted;
    return read;
}

std::uint64_t NodeKey(std::uint64_t nid)
{
    return nid & 0xFFFFFFFF;
}

}  // namespace

std::optional<TreePage> RecognisePage(const VariantLayout& layout, CByteView bytes, std::uint64_t fileOffset)
{
    const auto checked = format::ParsePageTrailer(layout, bytes, fileOffset);
    if (!checked)
        return std::nullopt;
    TreePage page{fileOffset, checked->trailer.bid, checked->trailer.type};
    page.isSound = (checked->faults & format::kPageBadCrc) == 0;
    page.isAtHome = (checked->faults & format::kPageBadSignature) == 0;
    page.level = bytes.ReadOrZero<std::uint8_t>(layout.entrySizeOffset + 1);
    page.isTree = (page.type == PageType::NodeTree || page.type == PageType::BlockTree) && page.bid != 0 &&
                  page.bid <= kBidLimit && HasTreeCounters(layout, bytes, page);
    if (!page.isSound && !page.isTree)
        return std::nullopt;
    return page;
}

PageEntries<format::NodeEntry> ReadNodeEntries(const VariantLayout& layout, const TreePage& page,
                                               CByteView bytes)
{
    const auto decode = [&](CByteView place) -> std::optional<format::NodeEntry> {
        auto entry = format::DecodeNodeEntry(layout, place);
        if (!entry || NodeKey(entry->nid) == 0 || entry->bidData > kBidLimit || entry->bidSub > kBidLimit ||
            (!page.isSound && entry->nid != NodeKey(entry->nid)))
            return std::nullopt;
        return entry;
    };
    return ReadEntries<format::NodeEntry>(layout, page, bytes, decode,
                                          [](const format::NodeEntry& entry) { return NodeKey(entry.nid); });
}

PageEntries<format::IndexEntry> ReadIndexEntries(const VariantLayout& layout, const TreePage& page,
                                                 CByteView bytes)
{
    const auto decode = [&](CByteView place) -> std::optional<format::IndexEntry> {
        auto entry = format::DecodeIndexEntry(layout, place);
        if (!entry || NodeKey(entry->key) == 0 || entry->child.bid == 0 || entry->child.bid > kBidLimit ||
            (!page.isSound && entry->key != NodeKey(entry->key)))
            return std::nullopt;
        return entry;
    };
    return ReadEntries<format::IndexEntry>(
        layout, page, bytes, decode, [](const format::IndexEntry& entry) { return NodeKey(entry.key); });
}

PageEntries<format::BlockEntry> ReadBlockEntries(const VariantLayout& layout, const TreePage& page,
                                                 CByteView bytes, std::uint64_t fileSize)
{
    const auto decode = [&](CByteView place) -> std::optional<format::BlockEntry> {
        auto entry = format::DecodeBlockEntry(layout, place);
        if (!entry || (entry->reference.bid & ~std::uint64_t{1}) == 0 || entry->reference.bid > kBidLimit ||
            entry->size == 0 || entry->size > layout.largestBlock || entry->reference.offset == 0 ||
            entry->reference.offset >= fileSize || entry->size > fileSize - entry->reference.offset ||
            (!page.isSound && entry->reference.offset % layout.blockAlignment != 0))
            return std::nullopt;
        return entry;
    };
    return ReadEntries<format::BlockEntry>(
        layout, page, bytes, decode, [](const format::BlockEntry& entry) { return entry.reference.bid; });
}

}  // namespace pastille::store::complete
