#include "tests/support/StoreFile.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>

#include "format/Bytes.h"
#include "format/Checksum.h"

namespace pastille::tests {
namespace {

using format::StoreLE;
using format::Variant;

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
      m_nextPage(format.firstPageBid),
      m_lastIndex(format::InitialNodeIndexes())
{
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
    stored.resize(extent);
    format::EncodeBlockTrailer(m_layout, stored, cb, offset, bid, static_cast<std::uint16_t>(data.size()));
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

std::uint64_t CStoreFile::WriteDataTree(const std::vector<Bytes>& leaves, const std::string& name)
{
    std::vector<std::uint64_t> bids;
    std::vector<std::uint32_t> sizes;
    for (const Bytes& leaf : leaves) {
        const std::string suffix = leaves.size() > 1 ? " " + std::to_string(bids.size()) : std::string();
        bids.push_back(WriteBlock(leaf, {.name = name + "/data" + suffix}));
        sizes.push_back(static_cast<std::uint32_t>(leaf.size()));
    }
    const std::size_t fanout =
        m_format.childrenPerBlock != 0 ? m_format.childrenPerBlock : format::DataTreeCapacity(m_layout);
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
            parents.push_back(WriteDataTreeBlock(level, total, std::span(bids).subspan(first, count),
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
    std::ranges::sort(entries, {}, &SubnodeRef::nid);
    // Programs take no more than fits the smaller blocks.
    const std::size_t fitting =
        (std::min<std::size_t>(m_layout.largestBlock, 8180) - format::SubnodeHeaderSize(m_layout)) /
        (3 * m_layout.keyWidth);
    const std::size_t fanout = m_format.childrenPerBlock != 0 ? m_format.childrenPerBlock : fitting;
    BlockOptions options{.name = name + "/subnodes", .kind = PlaceKind::Subnodes};
    if (entries.size() <= fanout)
        options.bid = bid;
    std::vector<format::SubnodeIndexEntry> leaves;
    for (std::size_t first = 0; first < entries.size(); first += fanout) {
        const auto part = std::span(entries).subspan(first, std::min(fanout, entries.size() - first));
        for (const SubnodeRef& entry : part) {
            AddReference(entry.bidData);
            AddReference(entry.bidSub);
        }
        leaves.push_back(
            {part.front().nid, WriteInternalBlock(format::EncodeSubnodeLeaf(m_layout, part), options)});
    }
    if (leaves.size() < 2)
        return leaves.empty() ? 0 : leaves.front().bid;
    for (const format::SubnodeIndexEntry& leaf : leaves)
        AddReference(leaf.bid);
    return WriteInternalBlock(format::EncodeSubnodeIndex(m_layout, leaves), options);
}

void CStoreFile::AddNode(const NbtEntry& entry, const std::string& name)
{
    m_nodes.push_back(entry);
    AddReference(entry.bidData);
    AddReference(entry.bidSub);
    if (!name.empty() && m_format.keepDirectory)
        m_directory.nodes.emplace(name, entry.nid);
}

void CStoreFile::Finish()
{
    const format::BlockReference bbt = WriteTree(WriteBbtLeaves(), format::PageType::BlockTree);
    const format::BlockReference nbt = WriteTree(WriteNbtLeaves(), format::PageType::NodeTree);
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
