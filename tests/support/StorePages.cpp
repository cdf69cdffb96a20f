#include <algorithm>
#include <bit>

#include "format/Bytes.h"
#include "format/Checksum.h"
#include "tests/support/StoreFile.h"

// The pages of a store file, its maps and its header.

namespace pastille::tests {

using format::StoreLE;
using format::Variant;

/// `body` holds the entries.
format::BlockReference CStoreFile::WritePage(Bytes body, format::PageType tree, unsigned level,
                                             std::size_t count, const PageOptions& options)
{
    const std::uint64_t own = options.bid.value_or(m_nextPage);
    if (!options.bid)
        m_nextPage += 4;
    const std::uint64_t offset = AllocatePage();
    body.resize(m_layout.pageSize);
    const std::span<std::byte> page(body);
    format::EncodeTreePage(m_layout, page, tree, level, count, offset, own);
    if (options.count)
        page[m_layout.countOffset] = static_cast<std::byte>(*options.count);
    if (options.maximum)
        page[m_layout.maximumCountOffset] = static_cast<std::byte>(*options.maximum);
    if (options.entrySize)
        page[m_layout.entrySizeOffset] = static_cast<std::byte>(*options.entrySize);
    if (options.type)
        page[m_layout.typeOffset] = page[m_layout.typeOffset + 1] = static_cast<std::byte>(*options.type);
    if (!options.goodSignature)
        page[m_layout.signatureOffset] ^= std::byte{0x5A};
    StoreLE(page, m_layout.pageCrcOffset, format::ComputeCrc(page.first(m_layout.typeOffset)));
    Put(offset, page);
    const bool isNbt = tree == format::PageType::NodeTree;
    const PlaceKind leaf = isNbt ? PlaceKind::NbtLeaf : PlaceKind::BbtLeaf;
    const PlaceKind index = isNbt ? PlaceKind::NbtIndex : PlaceKind::BbtIndex;
    Note({level == 0 ? leaf : index, {}, offset, m_layout.pageSize, m_layout.typeOffset, own});
    return {own, offset};
}

std::uint64_t CStoreFile::WriteNbtPage(const std::vector<NbtEntry>& entries, const PageOptions& options)
{
    Bytes body(entries.size() * m_layout.nodeEntrySize);
    for (std::size_t i = 0; i < entries.size(); ++i)
        format::EncodeNodeEntry(m_layout,
                                {entries[i].nid, entries[i].bidData, entries[i].bidSub, entries[i].parent},
                                std::span(body).subspan(i * m_layout.nodeEntrySize));
    return WritePage(std::move(body), format::PageType::NodeTree, 0, entries.size(), options).offset;
}

std::uint64_t CStoreFile::WriteBbtPage(const std::vector<BbtEntry>& entries, const PageOptions& options)
{
    Bytes body(entries.size() * m_layout.blockEntrySize);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const BbtEntry& entry = entries[i];
        format::EncodeBlockEntry(m_layout,
                                 {{entry.bid, entry.ib}, entry.cb, entry.cbInflated, entry.references},
                                 std::span(body).subspan(i * m_layout.blockEntrySize));
    }
    return WritePage(std::move(body), format::PageType::BlockTree, 0, entries.size(), options).offset;
}

template <class Entry, class Key, class Write>
std::vector<format::IndexEntry> CStoreFile::WriteLeaves(std::vector<Entry> entries, Key key,
                                                        std::size_t perPage, Write write)
{
    std::ranges::stable_sort(entries, {}, key);
    std::vector<format::IndexEntry> level;
    for (std::size_t first = 0; first < entries.size(); first += perPage) {
        const auto begin = entries.begin() + static_cast<std::ptrdiff_t>(first);
        const auto count = static_cast<std::ptrdiff_t>(std::min(perPage, entries.size() - first));
        const std::vector<Entry> page(begin, begin + count);
        const std::uint64_t bid = m_nextPage;
        level.push_back({page.front().*key, {bid, write(page)}});
    }
    return level;
}

std::vector<format::IndexEntry> CStoreFile::WriteNbtLeaves()
{
    const std::size_t fitting = format::TreePageCapacity(m_layout, m_layout.nodeEntrySize);
    const std::size_t perPage = m_format.nodesPerPage != 0 ? m_format.nodesPerPage : fitting;
    return WriteLeaves(m_nodes, &NbtEntry::nid, perPage, [this](const std::vector<NbtEntry>& page) {
        const std::uint64_t ib = WriteNbtPage(page);
        for (std::size_t i = 0; i < page.size() && m_format.keepDirectory; ++i)
            m_directory.nodeEntries[page[i].nid] = ib + i * m_layout.nodeEntrySize;
        return ib;
    });
}

std::vector<format::IndexEntry> CStoreFile::WriteBbtLeaves()
{
    const std::size_t fitting = format::TreePageCapacity(m_layout, m_layout.blockEntrySize);
    const std::size_t perPage = m_format.blocksPerPage != 0 ? m_format.blocksPerPage : fitting;
    return WriteLeaves(m_blocks, &BbtEntry::bid, perPage,
                       [this](const std::vector<BbtEntry>& page) { return WriteBbtPage(page); });
}

format::BlockReference CStoreFile::WriteTree(std::vector<format::IndexEntry> level, format::PageType tree)
{
    const std::size_t size = m_layout.blockEntrySize;
    const std::size_t fitting = format::TreePageCapacity(m_layout, size);
    const std::size_t perPage = m_format.childrenPerPage != 0 ? m_format.childrenPerPage : fitting;
    for (unsigned depth = 1; level.size() > 1; ++depth) {
        std::vector<format::IndexEntry> parents;
        for (std::size_t first = 0; first < level.size(); first += perPage) {
            const std::size_t count = std::min(perPage, level.size() - first);
            Bytes body(count * size);
            for (std::size_t i = 0; i < count; ++i)
                format::EncodeIndexEntry(m_layout, level[first + i], std::span(body).subspan(i * size));
            parents.push_back({level[first].key, WritePage(std::move(body), tree, depth, count, {})});
        }
        level = std::move(parents);
    }
    return level.empty() ? format::BlockReference{} : level.front().child;
}

// ---- maps and header

void CStoreFile::WriteMapPage(std::uint64_t offset, format::PageType type, std::span<const std::byte> bitmap,
                              std::uint64_t bid)
{
    Bytes page(m_layout.pageSize);
    const std::ptrdiff_t start = m_layout.variant == Variant::Ansi ? 4 : 0;
    std::ranges::copy(bitmap, page.begin() + start);
    format::EncodePageTrailer(m_layout, page, type, offset, bid);
    Put(offset, page);
    if (type == format::PageType::AllocationMap)
        Note({PlaceKind::AMap, {}, offset, m_layout.pageSize, m_layout.typeOffset, offset});
}

void CStoreFile::WriteMaps()
{
    using enum format::PageType;
    const bool large = m_layout.variant == Variant::Unicode4k;
    const std::uint64_t end = SectionStart(m_sections);
    m_fileSize = large ? (m_cursor + m_layout.pageSize - 1) / m_layout.pageSize * m_layout.pageSize : end;
    if (m_fileSize < end)
        MarkAllocated(m_fileSize, end - m_fileSize);
    const Bytes full(496, std::byte{0xFF});
    for (std::uint64_t section = 0; section < m_sections; ++section) {
        const std::uint64_t at = SectionStart(section);
        WriteMapPage(at, AllocationMap, m_maps[section]);
        if (large)
            continue;
        if (section % 8 == 0)
            WriteMapPage(at + 512, PageMap, full);
        if (MapPages(section) == 3)
            WriteMapPage(at + 1024, section % 8192 == 0 ? FreePageMap : FreeMap, full);
    }
    // The density list only speeds allocation up: real files leave it empty.
    if (!large)
        WriteMapPage(format::kDensityListOffset, DensityList, {}, m_nextPage);
}

void CStoreFile::WriteHeader(const format::BlockReference& nodeTree, const format::BlockReference& blockTree)
{
    std::uint64_t freeBits = 0;
    for (const Bytes& map : m_maps) {
        for (const std::byte byte : map)
            freeBits += 8u - static_cast<unsigned>(std::popcount(std::to_integer<unsigned>(byte)));
    }
    const bool large = m_layout.variant == Variant::Unicode4k;
    const format::FileHeader fields{
        .clientMagic = m_format.ost ? format::kClientMagicOst : format::kClientMagicPst,
        .version = large           ? format::kVersionUnicode4k
                   : m_layout.wide ? format::kVersionUnicode
                                   : format::kVersionAnsi,
        .clientVersion = static_cast<std::uint16_t>(m_format.ost ? 12 : 19),
        .nextPageBid = m_nextPage,
        .nextBlockBid = m_nextBlock,
        .unique = 0x10000000,
        .lastNodeIndex = m_lastIndex,
        .fileSize = m_fileSize,
        .lastAMapOffset = SectionStart(m_sections - 1),
        .freeBytes = freeBits * (large ? 512 : 64),
        .nodeTree = nodeTree,
        .blockTree = blockTree,
        .amapValid = format::amapvalid::kValid,
        .cryptMethod = static_cast<std::uint8_t>(m_format.crypt)};
    Bytes header(m_layout.headerBytes);
    format::EncodeHeader(m_layout, fields, header);
    Put(0, header);
}

}  // namespace pastille::tests
