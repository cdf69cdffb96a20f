#include "tests/support/StoreFile.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>

#include "format/Bytes.h"
#include "format/Checksum.h"
#include "format/Header.h"
#include "format/Page.h"

namespace pastille::tests {
namespace {

using format::StoreLE;
using format::Variant;

constexpr std::uint8_t kBbtPage = 0x80;
constexpr std::uint8_t kNbtPage = 0x81;
constexpr std::uint64_t kFirst4kMap = 0x22000;
constexpr std::uint64_t k4kSection = std::uint64_t{4072} * 8 * 512;
constexpr std::uint64_t kFirst4kPlace = 0x24000;
constexpr std::size_t kWriteBuffer = std::size_t{1} << 20;

bool BeginsHeap(std::span<const std::byte> data)
{
    const std::uint16_t word = data.size() < 4 ? 0 : format::LoadLE<std::uint16_t>(data, 2);
    return word == 0xBCEC || word == 0x7CEC || word == 0x8CEC || word == 0xECEC;
}

Bytes Deflate(std::span<const std::byte> data)
{
    uLongf size = compressBound(static_cast<uLong>(data.size()));
    Bytes packed(size);
    compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
              static_cast<uLong>(data.size()), 6);
    packed.resize(size);
    return packed;
}

std::uint64_t RoundUp(std::uint64_t value, std::uint64_t unit)
{
    return (value + unit - 1) / unit * unit;
}

}  // namespace

std::vector<StorePlace> StoreDirectory::All(PlaceKind kind) const
{
    std::vector<StorePlace> found;
    std::copy_if(places.begin(), places.end(), std::back_inserter(found),
                 [kind](const StorePlace& place) { return place.kind == kind; });
    return found;
}

const StorePlace& StoreDirectory::Find(const std::string& name) const
{
    for (const StorePlace& place : places) {
        if (place.name == name)
            return place;
    }
    throw std::out_of_range("the store holds nothing named " + name);
}

StoreDirectory FindTreePages(std::span<const std::byte> store, StoreFormat& format)
{
    const format::CByteView view(store);
    format.variant = format::VariantOfVersion(view.ReadOrZero<std::uint16_t>(10)).value();
    format.ost = view.ReadOrZero<std::uint16_t>(8) == 0x4F53;
    const format::VariantLayout& layout = format::LayoutOf(format.variant);
    const format::FileHeader header = format::DecodeHeader(layout, view)->header;
    format.crypt = static_cast<format::CryptMethod>(header.cryptMethod);
    std::vector<format::BlockReference> pages = {header.nodeTree, header.blockTree};
    StoreDirectory directory;
    while (!pages.empty()) {
        const format::BlockReference at = pages.back();
        pages.pop_back();
        const auto page = format::CTreePage::Parse(layout, view.Sub(at.offset, layout.pageSize).value());
        const bool isLeaf = page->Level() == 0, isNbt = page->Tree() == format::PageType::NodeTree;
        for (std::size_t i = 0; i < page->Count() && !isLeaf; ++i)
            pages.push_back(page->ChildAt(i).child);
        const PlaceKind leaf = isNbt ? PlaceKind::NbtLeaf : PlaceKind::BbtLeaf;
        const PlaceKind index = isNbt ? PlaceKind::NbtIndex : PlaceKind::BbtIndex;
        directory.places.push_back({.kind = isLeaf ? leaf : index,
                                    .offset = at.offset,
                                    .extent = layout.pageSize,
                                    .stored = layout.typeOffset,
                                    .bid = at.bid});
    }
    return directory;
}

CStoreFile::CStoreFile(platform::IFile& file, const StoreFormat& format)
    : m_file(file),
      m_format(format),
      m_layout(format::LayoutOf(format.variant)),
      m_nextPage(format.firstPageBid)
{
    std::fill(std::begin(m_lastIndex), std::end(m_lastIndex), 0x400u);
    m_lastIndex[3] = 0x4000;
    m_lastIndex[4] = 0x10000;
    m_lastIndex[8] = 0x8000;
    m_cursor = SectionStart(0);
    EnterSection();
    if (m_layout.variant == Variant::Unicode4k)
        SkipTo(kFirst4kPlace);
    for (std::size_t i = 0; i < format.reservedPageSlots; ++i)
        m_freeSlots.push_back(Allocate(m_layout.pageSize, m_layout.pageSize));
    std::reverse(m_freeSlots.begin(), m_freeSlots.end());
}

std::size_t CStoreFile::BlockBytes() const
{
    // Encoded bytes grow a little when they are packed; leave room for that.
    const bool packs = m_layout.variant == Variant::Unicode4k && m_format.packing != Packing::None;
    return packs ? 65000 : m_layout.largestBlock;
}

std::uint64_t CStoreFile::SectionStart(std::uint64_t number) const
{
    return m_layout.variant == Variant::Unicode4k
               ? kFirst4kMap + number * k4kSection
               : format::kFirstAMapOffset + number * format::kAMapSectionBytes;
}

/// Map pages at the start of a section: always the AMap; PMap, FMap and FPMap at their own intervals.
std::size_t CStoreFile::MapPages(std::uint64_t section) const
{
    if (m_layout.variant == Variant::Unicode4k)
        return 1;
    const bool pmap = section % 8 == 0;
    const bool fmap = section >= 128 && (section - 128) % 496 == 0;
    const bool fpmap = section >= 8192 && (section - 8192) % 31744 == 0;
    return 1u + pmap + (fmap || fpmap);
}

void CStoreFile::EnterSection()
{
    m_maps.emplace_back(m_layout.variant == Variant::Unicode4k ? 4072 : 496);
    const std::size_t maps = MapPages(m_sections) * m_layout.pageSize;
    m_cursor = SectionStart(m_sections++) + maps;
    MarkAllocated(m_cursor - maps, maps);
}

void CStoreFile::MarkAllocated(std::uint64_t offset, std::uint64_t size)
{
    const std::uint64_t unit = m_layout.variant == Variant::Unicode4k ? 512 : format::kAllocationUnit;
    const std::uint64_t first = SectionStart(0);
    const std::uint64_t section = SectionStart(1) - first;
    for (std::uint64_t at = offset; at < offset + size; at += unit) {
        const std::uint64_t bit = (at - first) % section / unit;
        std::byte& byte = m_maps[(at - first) / section][bit / 8];
        byte |= static_cast<std::byte>(0x80u >> (bit % 8));
    }
}

std::uint64_t CStoreFile::Allocate(std::size_t size, std::size_t alignment)
{
    std::uint64_t offset = RoundUp(m_cursor, alignment);
    if (offset + size > SectionStart(m_sections)) {
        EnterSection();
        offset = RoundUp(m_cursor, alignment);
    }
    MarkAllocated(offset, size);
    m_cursor = offset + size;
    return offset;
}

std::uint64_t CStoreFile::AllocatePage()
{
    if (m_freeSlots.empty())
        return Allocate(m_layout.pageSize, m_layout.pageSize);
    const std::uint64_t slot = m_freeSlots.back();
    m_freeSlots.pop_back();
    return slot;
}

void CStoreFile::SkipTo(std::uint64_t offset)
{
    while (offset >= SectionStart(m_sections))
        EnterSection();
    m_cursor = std::max(m_cursor, offset);
}

void CStoreFile::StoreKey(std::span<std::byte> into, std::size_t offset, std::uint64_t value) const
{
    if (m_layout.wide)
        StoreLE(into, offset, value);
    else
        StoreLE(into, offset, static_cast<std::uint32_t>(value));
}

void CStoreFile::Note(StorePlace place)
{
    if (m_format.keepDirectory || place.kind < PlaceKind::Data)
        m_directory.places.push_back(std::move(place));
}

void CStoreFile::AddReference(std::uint64_t bid)
{
    if (const auto found = m_blockByBid.find(bid & ~std::uint64_t{1}); found != m_blockByBid.end())
        ++m_blocks[found->second].references;
}

// ---- blocks

void CStoreFile::EncodeStored(Bytes& stored, std::uint64_t bid, bool internal,
                              const BlockOptions& options) const
{
    const bool pack = options.pack && m_layout.variant == Variant::Unicode4k &&
                      (m_format.packing == Packing::All ||
                       (m_format.packing == Packing::AllButHeaps && !BeginsHeap(stored)));
    // XBLOCKs stay plain: independent readers disagree about packed ones.
    const bool packed = pack && options.kind != PlaceKind::DataTree;
    if (!internal && (m_format.encodeBeforePacking || !packed))
        format::EncodeBlock(m_format.crypt, bid, stored);
    if (!packed)
        return;
    stored = Deflate(stored);
    if (!internal && !m_format.encodeBeforePacking)
        format::EncodeBlock(m_format.crypt, bid, stored);
}

std::uint64_t CStoreFile::WriteAnyBlock(std::span<const std::byte> data, const BlockOptions& options,
                                        bool internal)
{
    const std::uint64_t bid = options.bid.value_or(m_nextBlock | (internal ? 2u : 0u));
    if (!options.bid)
        m_nextBlock += 4;
    Bytes stored(data.begin(), data.end());
    EncodeStored(stored, bid, internal, options);
    if (stored.size() > m_layout.largestBlock)
        throw std::length_error("block too large");

    const std::size_t extent = static_cast<std::size_t>(format::BlockExtent(m_layout, stored.size()));
    const std::uint64_t offset = Allocate(extent, m_layout.blockAlignment);
    const auto cb = static_cast<std::uint16_t>(stored.size());
    const std::uint32_t crc = format::ComputeCrc(stored);
    stored.resize(extent);
    const std::span<std::byte> trailer = std::span(stored).last(m_layout.blockTrailerSize);
    const std::uint16_t signature = format::ComputeSignature(offset, bid);
    StoreLE(trailer, 0, cb);
    StoreLE(trailer, 2, signature);
    StoreLE(trailer, m_layout.blockCrcOffset, crc);
    StoreKey(trailer, m_layout.blockBidOffset, bid);
    if (m_layout.variant == Variant::Unicode4k)
        StoreLE(trailer, 18, static_cast<std::uint16_t>(data.size()));
    Put(offset, stored);
    if (m_listsBlocks) {
        m_blockByBid[bid & ~std::uint64_t{1}] = m_blocks.size();
        m_blocks.push_back({bid, offset, cb, static_cast<std::uint16_t>(data.size()), 1});
    }
    Note({options.kind, options.name, offset, extent, cb, bid});
    return bid;
}

std::uint64_t CStoreFile::WriteBlock(std::span<const std::byte> data, const BlockOptions& options)
{
    return WriteAnyBlock(data, options, false);
}

std::uint64_t CStoreFile::WriteInternalBlock(std::span<const std::byte> data, const BlockOptions& options)
{
    return WriteAnyBlock(data, options, true);
}

Bytes CStoreFile::TreeBlock(std::uint8_t level, std::uint32_t total,
                            std::span<const std::uint64_t> children) const
{
    Bytes block(8 + children.size() * m_layout.keyWidth);
    block[0] = std::byte{1};
    block[1] = static_cast<std::byte>(level);
    StoreLE(std::span(block), 2, static_cast<std::uint16_t>(children.size()));
    StoreLE(std::span(block), 4, total);
    for (std::size_t i = 0; i < children.size(); ++i)
        StoreKey(block, 8 + i * m_layout.keyWidth, children[i]);
    return block;
}

std::uint64_t CStoreFile::WriteDataTree(const std::vector<Bytes>& leaves, const std::string& name)
{
    std::vector<std::uint64_t> bids;
    std::vector<std::uint32_t> sizes;
    for (const Bytes& leaf : leaves) {
        const std::string suffix = leaves.size() > 1 ? " " + std::to_string(bids.size()) : std::string();
        bids.push_back(WriteBlock(leaf, {.name = name + "/data" + suffix}));
        sizes.push_back(static_cast<std::uint32_t>(leaf.size()));
    }
    const std::size_t fitting = (m_layout.largestBlock - 8) / m_layout.keyWidth;
    const std::size_t fanout = m_format.childrenPerBlock != 0 ? m_format.childrenPerBlock : fitting;
    for (std::uint8_t level = 1; bids.size() > 1; ++level) {
        if (level > 2)
            throw std::length_error("data tree too large");
        std::vector<std::uint64_t> parents;
        std::vector<std::uint32_t> totals;
        for (std::size_t first = 0; first < bids.size(); first += fanout) {
            const std::size_t count = std::min(fanout, bids.size() - first);
            std::uint32_t total = 0;
            for (std::size_t i = first; i < first + count; ++i) {
                total += sizes[i];
                AddReference(bids[i]);
            }
            parents.push_back(
                WriteInternalBlock(TreeBlock(level, total, std::span(bids).subspan(first, count)),
                                   {.name = name + "/tree", .kind = PlaceKind::DataTree}));
            totals.push_back(total);
        }
        bids = std::move(parents);
        sizes = std::move(totals);
    }
    return bids.empty() ? 0 : bids.front();
}

std::uint64_t CStoreFile::WriteData(std::span<const std::byte> data, const std::string& name,
                                    std::size_t leafBytes)
{
    const std::size_t size = leafBytes != 0 ? leafBytes : BlockBytes();
    std::vector<Bytes> leaves;
    for (std::size_t at = 0; at < data.size(); at += size) {
        const auto part = data.subspan(at, std::min(size, data.size() - at));
        leaves.emplace_back(part.begin(), part.end());
    }
    return WriteDataTree(leaves, name);
}

std::uint64_t CStoreFile::WriteSubnodes(std::vector<SubnodeRef> entries, const std::string& name,
                                        std::optional<std::uint64_t> bid)
{
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.nid < b.nid; });
    const std::size_t key = m_layout.keyWidth;
    const std::size_t head = m_layout.wide ? 8 : 4;
    const std::size_t fitting = (std::min<std::size_t>(m_layout.largestBlock, 8180) - head) / (3 * key);
    const std::size_t fanout = m_format.childrenPerBlock != 0 ? m_format.childrenPerBlock : fitting;
    BlockOptions options{.name = name + "/subnodes", .kind = PlaceKind::Subnodes};
    if (entries.size() <= fanout)
        options.bid = bid;
    std::vector<std::pair<std::uint32_t, std::uint64_t>> leaves;
    for (std::size_t first = 0; first < entries.size(); first += fanout) {
        const std::size_t count = std::min(fanout, entries.size() - first);
        Bytes block(head + count * 3 * key);
        block[0] = std::byte{2};
        StoreLE(std::span(block), 2, static_cast<std::uint16_t>(count));
        for (std::size_t i = 0; i < count; ++i) {
            const SubnodeRef& entry = entries[first + i];
            StoreKey(block, head + i * 3 * key, entry.nid);
            StoreKey(block, head + i * 3 * key + key, entry.bidData);
            StoreKey(block, head + i * 3 * key + 2 * key, entry.bidSub);
            AddReference(entry.bidData);
            AddReference(entry.bidSub);
        }
        leaves.emplace_back(entries[first].nid, WriteInternalBlock(block, options));
    }
    if (leaves.size() < 2)
        return leaves.empty() ? 0 : leaves.front().second;
    Bytes index(head + leaves.size() * 2 * key);
    index[0] = std::byte{2};
    index[1] = std::byte{1};
    StoreLE(std::span(index), 2, static_cast<std::uint16_t>(leaves.size()));
    for (std::size_t i = 0; i < leaves.size(); ++i) {
        StoreKey(index, head + i * 2 * key, leaves[i].first);
        StoreKey(index, head + i * 2 * key + key, leaves[i].second);
        AddReference(leaves[i].second);
    }
    return WriteInternalBlock(index, options);
}

void CStoreFile::AddNode(const NbtEntry& entry, const std::string& name)
{
    m_nodes.push_back(entry);
    AddReference(entry.bidData);
    AddReference(entry.bidSub);
    if (!name.empty() && m_format.keepDirectory)
        m_directory.nodes.emplace(name, entry.nid);
}

NbtEntry CStoreFile::Node(std::uint32_t nid) const
{
    for (const NbtEntry& entry : m_nodes) {
        if (entry.nid == nid)
            return entry;
    }
    throw std::out_of_range("the store holds no such node");
}

// ---- pages

std::uint64_t CStoreFile::WritePage(PageBody body, const PageOptions& options, PlaceKind kind,
                                    std::uint64_t* bid)
{
    const std::uint64_t own = options.bid.value_or(m_nextPage);
    if (!options.bid)
        m_nextPage += 4;
    const std::uint64_t offset = AllocatePage();
    body.bytes.resize(m_layout.pageSize);
    const std::span<std::byte> page(body.bytes);
    const auto count = options.count.value_or(static_cast<std::uint16_t>(body.count));
    const auto maximum = options.maximum.value_or(static_cast<std::uint16_t>(body.maximum));
    if (m_layout.countWidth == 2) {
        StoreLE(page, m_layout.countOffset, count);
        StoreLE(page, m_layout.maximumCountOffset, maximum);
    } else {
        page[m_layout.countOffset] = static_cast<std::byte>(count);
        page[m_layout.maximumCountOffset] = static_cast<std::byte>(maximum);
    }
    page[m_layout.entrySizeOffset] =
        static_cast<std::byte>(options.entrySize.value_or(static_cast<std::uint8_t>(body.entrySize)));
    page[m_layout.entrySizeOffset + 1] = static_cast<std::byte>(body.level);
    const std::uint8_t type = options.type.value_or(body.type);
    page[m_layout.typeOffset] = page[m_layout.typeOffset + 1] = static_cast<std::byte>(type);
    const std::uint16_t signature = format::ComputeSignature(offset, own);
    StoreLE(page, m_layout.signatureOffset,
            static_cast<std::uint16_t>(options.goodSignature ? signature : signature ^ 0x5A5A));
    StoreKey(page, m_layout.pageBidOffset, own);
    StoreLE(page, m_layout.pageCrcOffset, format::ComputeCrc(page.first(m_layout.typeOffset)));
    Put(offset, page);
    Note({kind, {}, offset, m_layout.pageSize, m_layout.typeOffset, own});
    if (bid != nullptr)
        *bid = own;
    return offset;
}

std::uint64_t CStoreFile::WriteNbtPage(const std::vector<NbtEntry>& entries, const PageOptions& options)
{
    const std::size_t size = m_layout.nodeEntrySize;
    const std::size_t key = m_layout.keyWidth;
    const std::size_t maximum = (m_layout.countOffset) / size;
    Bytes bytes(std::max(m_layout.pageSize, entries.size() * size));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        StoreKey(bytes, i * size, entries[i].nid);
        StoreKey(bytes, i * size + key, entries[i].bidData);
        StoreKey(bytes, i * size + 2 * key, entries[i].bidSub);
        StoreLE(std::span(bytes), i * size + 3 * key, entries[i].parent);
    }
    return WritePage({std::move(bytes), entries.size(), maximum, size, kNbtPage, 0}, options,
                     PlaceKind::NbtLeaf, nullptr);
}

std::uint64_t CStoreFile::WriteBbtPage(const std::vector<BbtEntry>& entries, const PageOptions& options)
{
    const std::size_t size = m_layout.blockEntrySize;
    const std::size_t key = m_layout.keyWidth;
    const bool packs = m_layout.variant == Variant::Unicode4k;
    Bytes bytes(std::max(m_layout.pageSize, entries.size() * size));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::size_t at = i * size;
        StoreKey(bytes, at, entries[i].bid);
        StoreKey(bytes, at + key, entries[i].ib);
        StoreLE(std::span(bytes), at + 2 * key, entries[i].cb);
        StoreLE(std::span(bytes), at + 2 * key + 2, packs ? entries[i].cbInflated : entries[i].references);
        if (packs)
            StoreLE(std::span(bytes), at + 2 * key + 4, entries[i].references);
    }
    return WritePage({std::move(bytes), entries.size(), m_layout.countOffset / size, size, kBbtPage, 0},
                     options, PlaceKind::BbtLeaf, nullptr);
}

template <class Entry, class Key, class Write>
std::vector<CStoreFile::Child> CStoreFile::WriteLeaves(std::vector<Entry> entries, Key key,
                                                       std::size_t perPage, Write write)
{
    std::ranges::stable_sort(entries, {}, key);
    std::vector<Child> level;
    for (std::size_t first = 0; first < entries.size(); first += perPage) {
        const auto begin = entries.begin() + static_cast<std::ptrdiff_t>(first);
        const auto count = static_cast<std::ptrdiff_t>(std::min(perPage, entries.size() - first));
        const std::vector<Entry> page(begin, begin + count);
        const std::uint64_t bid = m_nextPage;
        level.push_back({page.front().*key, bid, write(page)});
    }
    return level;
}

std::vector<CStoreFile::Child> CStoreFile::WriteNbtLeaves()
{
    const std::size_t fitting = m_layout.countOffset / m_layout.nodeEntrySize;
    const std::size_t perPage = m_format.nodesPerPage != 0 ? m_format.nodesPerPage : fitting;
    return WriteLeaves(m_nodes, &NbtEntry::nid, perPage, [this](const std::vector<NbtEntry>& page) {
        const std::uint64_t ib = WriteNbtPage(page);
        for (std::size_t i = 0; i < page.size() && m_format.keepDirectory; ++i)
            m_directory.nodeEntries[page[i].nid] = ib + i * m_layout.nodeEntrySize;
        return ib;
    });
}

std::vector<CStoreFile::Child> CStoreFile::WriteBbtLeaves()
{
    const std::size_t fitting = m_layout.countOffset / m_layout.blockEntrySize;
    const std::size_t perPage = m_format.blocksPerPage != 0 ? m_format.blocksPerPage : fitting;
    return WriteLeaves(m_blocks, &BbtEntry::bid, perPage,
                       [this](const std::vector<BbtEntry>& page) { return WriteBbtPage(page); });
}

CStoreFile::Child CStoreFile::WriteTree(std::vector<Child> level, std::uint8_t type, PlaceKind indexKind)
{
    const std::size_t size = m_layout.blockEntrySize;
    const std::size_t key = m_layout.keyWidth;
    const std::size_t maximum = m_layout.countOffset / size;
    const std::size_t perPage = m_format.childrenPerPage != 0 ? m_format.childrenPerPage : maximum;
    for (std::uint8_t depth = 1; level.size() > 1; ++depth) {
        std::vector<Child> parents;
        for (std::size_t first = 0; first < level.size(); first += perPage) {
            const std::size_t count = std::min(perPage, level.size() - first);
            Bytes bytes(m_layout.pageSize);
            for (std::size_t i = 0; i < count; ++i) {
                StoreKey(bytes, i * size, level[first + i].key);
                StoreKey(bytes, i * size + key, level[first + i].bid);
                StoreKey(bytes, i * size + 2 * key, level[first + i].ib);
            }
            std::uint64_t bid = 0;
            const std::uint64_t ib =
                WritePage({std::move(bytes), count, maximum, size, type, depth}, {}, indexKind, &bid);
            parents.push_back({level[first].key, bid, ib});
        }
        level = std::move(parents);
    }
    return level.empty() ? Child{} : level.front();
}

// ---- maps and header

void CStoreFile::WriteMapPage(std::uint64_t offset, std::uint8_t type, std::span<const std::byte> bitmap)
{
    Bytes page(m_layout.pageSize);
    const std::size_t start = m_layout.variant == Variant::Ansi ? 4 : 0;
    std::copy(bitmap.begin(), bitmap.end(), page.begin() + static_cast<std::ptrdiff_t>(start));
    page[m_layout.typeOffset] = page[m_layout.typeOffset + 1] = static_cast<std::byte>(type);
    StoreKey(page, m_layout.pageBidOffset, offset);
    StoreLE(std::span(page), m_layout.pageCrcOffset,
            format::ComputeCrc(std::span(page).first(m_layout.typeOffset)));
    Put(offset, page);
    if (type == 0x84)
        Note({PlaceKind::AMap, {}, offset, m_layout.pageSize, m_layout.typeOffset, offset});
}

void CStoreFile::WriteMaps()
{
    const bool large = m_layout.variant == Variant::Unicode4k;
    const std::uint64_t end = SectionStart(m_sections);
    m_fileSize = large ? RoundUp(m_cursor, m_layout.pageSize) : end;
    if (m_fileSize < end)
        MarkAllocated(m_fileSize, end - m_fileSize);
    const Bytes full(496, std::byte{0xFF});
    for (std::uint64_t section = 0; section < m_sections; ++section) {
        const std::uint64_t at = SectionStart(section);
        WriteMapPage(at, 0x84, m_maps[section]);
        if (large)
            continue;
        if (section % 8 == 0)
            WriteMapPage(at + 512, 0x83, full);
        if (MapPages(section) == 3)
            WriteMapPage(at + 1024, section % 8192 == 0 ? 0x85 : 0x82, full);
    }
    if (large)
        return;
    // The density list only speeds allocation up: real files leave it empty, with CRC 0.
    Bytes list(m_layout.pageSize);
    list[m_layout.typeOffset] = list[m_layout.typeOffset + 1] = std::byte{0x86};
    StoreLE(std::span(list), m_layout.signatureOffset,
            format::ComputeSignature(format::kDensityListOffset, m_nextPage));
    StoreKey(list, m_layout.pageBidOffset, m_nextPage);
    Put(format::kDensityListOffset, list);
}

void CStoreFile::WriteHeader(const Child& nbt, const Child& bbt)
{
    const bool wide = m_layout.wide;
    Bytes header(m_layout.headerBytes);
    const std::span<std::byte> at(header);
    const std::size_t key = m_layout.keyWidth;
    StoreLE(at, 0, 0x4E444221u);
    StoreLE(at, 8, static_cast<std::uint16_t>(m_format.ost ? 0x4F53 : 0x4D53));
    StoreLE(at, 10, static_cast<std::uint16_t>(!wide ? 14 : m_layout.pageSize == 4096 ? 36 : 23));
    StoreLE(at, 12, static_cast<std::uint16_t>(m_format.ost ? 12 : 19));
    at[14] = at[15] = std::byte{1};
    if (wide)
        StoreLE(at, 0x18, std::uint64_t{0x100000004});
    else
        StoreLE(at, 0x18, static_cast<std::uint32_t>(m_nextBlock));
    StoreKey(at, wide ? 0x20 : 0x1C, m_nextPage);
    StoreLE(at, wide ? 0x28 : 0x20, 0x10000000u);
    for (std::size_t i = 0; i < 32; ++i)
        StoreLE(at, (wide ? 0x2C : 0x24) + 4 * i, m_lastIndex[i]);
    std::uint64_t freeBits = 0;
    for (const Bytes& map : m_maps) {
        for (const std::byte byte : map)
            freeBits += 8u - static_cast<unsigned>(__builtin_popcount(std::to_integer<unsigned>(byte)));
    }
    const std::size_t root = wide ? 0xB8 : 0xA8;
    StoreKey(at, root, m_fileSize);
    StoreKey(at, root + key, SectionStart(m_sections - 1));
    StoreKey(at, root + 2 * key, freeBits * (m_layout.pageSize == 4096 ? 512 : 64));
    StoreKey(at, root + 4 * key, nbt.bid);
    StoreKey(at, root + 5 * key, nbt.ib);
    StoreKey(at, root + 6 * key, bbt.bid);
    StoreKey(at, root + 7 * key, bbt.ib);
    at[root + 8 * key] = std::byte{2};
    std::fill_n(header.begin() + (wide ? 0x100 : 0xCC), 256, std::byte{0xFF});
    at[m_layout.cryptMethodOffset - 1] = std::byte{0x80};
    at[m_layout.cryptMethodOffset] = static_cast<std::byte>(m_format.crypt);
    if (wide)
        StoreLE(at, 0x204, m_nextBlock);
    StoreLE(at, 4, format::ComputeCrc(at.subspan(8, 471)));
    if (wide)
        StoreLE(at, 0x20C, format::ComputeCrc(at.subspan(8, 516)));
    Put(0, header);
}

void CStoreFile::Finish()
{
    const Child bbt = WriteTree(WriteBbtLeaves(), kBbtPage, PlaceKind::BbtIndex);
    const Child nbt = WriteTree(WriteNbtLeaves(), kNbtPage, PlaceKind::NbtIndex);
    WriteMaps();
    WriteHeader(nbt, bbt);
    Flush();
    m_file.SetSize(m_fileSize);
}

void CStoreFile::Put(std::uint64_t offset, std::span<const std::byte> bytes)
{
    if (offset != m_pendingOffset + m_pending.size() || m_pending.size() >= kWriteBuffer)
        Flush();
    if (m_pending.empty())
        m_pendingOffset = offset;
    m_pending.insert(m_pending.end(), bytes.begin(), bytes.end());
}

void CStoreFile::Flush()
{
    if (!m_pending.empty())
        m_file.WriteAt(m_pendingOffset, m_pending);
    m_pending.clear();
}

}  // namespace pastille::tests
