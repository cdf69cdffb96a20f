#include "component/pst/ndb/NdbReader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <utility>

#include "format/Block.h"
#include "format/UnpackBlock.h"

namespace pastille::component::pst {
namespace {

constexpr std::size_t kMostCachedPages = 1024;
constexpr std::uint64_t kNoUpperKey = std::numeric_limits<std::uint64_t>::max();
/// Levels of a tree of 15 entries a page that would outgrow the key range.
constexpr unsigned kMostLevels = 16;

std::vector<std::byte> ReadExactly(platform::IByteSource& source, std::uint64_t offset, std::uint64_t size,
                                   const char* structure)
{
    const std::uint64_t fileSize = source.Size();
    if (offset > fileSize || size > fileSize - offset)
        throw CFormatError({structure, "ib", offset, offset});
    std::vector<std::byte> bytes(static_cast<std::size_t>(size));
    const std::size_t got = source.ReadAt(offset, bytes);
    if (got != bytes.size())
        throw CFormatError({structure, "bytes read", got, offset});
    return bytes;
}

format::FileHeader ReadHeader(platform::IByteSource& source, const format::VariantLayout& layout)
{
    const auto bytes = ReadExactly(source, 0, layout.headerBytes, "HEADER");
    const auto checked = format::DecodeHeader(layout, format::CByteView(bytes));
    if (!checked || checked->faults != format::kHeaderSound)
        throw CFormatError({"HEADER", "faults", checked ? checked->faults : 0u, 0});
    const format::FileHeader& header = checked->header;
    const auto variant = format::VariantOfVersion(header.version);
    if (!variant || format::LayoutOf(*variant).wide != layout.wide)
        throw CFormatError({"HEADER", "wVer", header.version, 0x0A});
    if (header.cryptMethod > static_cast<std::uint8_t>(format::CryptMethod::Cyclic))
        throw CFormatError({"HEADER", "bCryptMethod", header.cryptMethod, layout.cryptMethodOffset});
    if (header.amapValid > format::amapvalid::kValid)
        throw CFormatError({"HEADER", "fAMapValid", header.amapValid, 0});
    return header;
}

/// Whether a tree page of that layout stands at the place.
bool HoldsTreePage(platform::IByteSource& source, std::uint64_t offset, const format::VariantLayout& layout)
{
    std::vector<std::byte> page(layout.pageSize);
    return source.ReadAt(offset, page) == page.size() &&
           format::ParsePageTrailer(layout, format::CByteView(page), offset).has_value();
}

}  // namespace

const format::VariantLayout& DetectLayout(platform::IByteSource& source)
{
    std::array<std::byte, format::kUnicodeLayout.headerBytes> bytes{};
    source.ReadAt(0, bytes);
    const auto header = format::DecodeHeader(format::kUnicodeLayout, format::CByteView(bytes));
    const auto variant = header ? format::VariantOfVersion(header->header.version) : std::nullopt;
    if (!variant || (header->faults & format::kHeaderBadMagic) != 0)
        throw CFormatError({"HEADER", "dwMagic or wVer", header ? header->header.version : 0u, 0});
    // Files of the versions above 36 may have pages of either size.
    const std::uint64_t root = header->header.nodeTree.offset;
    if (*variant == format::Variant::Unicode4k && header->header.version > format::kVersionUnicode4k &&
        !HoldsTreePage(source, root, format::kUnicode4kLayout) &&
        HoldsTreePage(source, root, format::kUnicodeLayout))
        return format::kUnicodeLayout;
    return format::LayoutOf(*variant);
}

CNdbReader::CNdbReader(platform::IByteSource& source, const format::VariantLayout& layout)
    : m_source(source), m_layout(layout), m_header(ReadHeader(source, layout))
{
}

const format::BlockReference& CNdbReader::RootOf(format::PageType tree) const
{
    return tree == format::PageType::NodeTree ? m_header.nodeTree : m_header.blockTree;
}

/// The page at an offset, all its checks passed but those against what refers to it.
CNdbReader::Page CNdbReader::LoadTreePage(std::uint64_t offset)
{
    if (const auto known = m_pages.find(offset); known != m_pages.end())
        return {known->second,
                Require(format::CTreePage::Parse(m_layout, format::CByteView(*known->second)))};
    if (offset % m_layout.pageSize != 0 || offset < m_layout.headerBytes || offset >= m_header.fileSize)
        throw CFormatError({"BREF", "ib", offset, offset});
    const auto bytes = std::make_shared<const std::vector<std::byte>>(
        ReadExactly(m_source, offset, m_layout.pageSize, "BTPAGE"));
    const auto trailer = format::ParsePageTrailer(m_layout, format::CByteView(*bytes), offset);
    if (!trailer)
        throw CFormatError({"PAGETRAILER", "ptype", 0, offset});
    if (trailer->faults != format::kPageSound)
        throw CFormatError({"PAGETRAILER", "dwCRC or wSig", trailer->faults, offset});
    Page page{bytes, Require(format::CTreePage::Parse(m_layout, format::CByteView(*bytes)))};
    if (page.view.Count() > page.view.MaximumCount() || page.view.Level() >= kMostLevels)
        throw CFormatError({"BTPAGE", "cEnt or cLevel", page.view.Count(), offset});
    for (std::size_t i = 1; i < page.view.Count(); ++i)
        if (page.view.KeyAt(i - 1) >= page.view.KeyAt(i))
            throw CFormatError({"BTPAGE", "btkey", page.view.KeyAt(i), offset});
    if (m_pages.size() >= kMostCachedPages)
        m_pages.clear();
    m_pages.emplace(offset, bytes);
    return page;
}

CNdbReader::Page CNdbReader::ReadTreePage(format::PageType tree, const format::BlockReference& reference)
{
    Page page = LoadTreePage(reference.offset);
    if (page.view.Tree() != tree)
        throw CFormatError(
            {"PAGETRAILER", "ptype", static_cast<std::uint64_t>(page.view.Tree()), reference.offset});
    const std::uint64_t bid =
        format::CByteView(*page.bytes).ReadKey(m_layout.pageBidOffset, m_layout.keyWidth).value_or(0);
    if (bid != reference.bid)
        throw CFormatError({"PAGETRAILER", "bid", bid, reference.offset});
    return page;
}

CNdbReader::Page CNdbReader::ReadChild(const Page& parent, std::size_t index)
{
    const format::IndexEntry entry = parent.view.ChildAt(index);
    Page child = ReadTreePage(parent.view.Tree(), entry.child);
    if (child.view.Level() + 1 != parent.view.Level())
        throw CFormatError({"BTPAGE", "cLevel", child.view.Level(), entry.child.offset});
    if (child.view.Count() == 0 || child.view.KeyAt(0) != parent.view.KeyAt(index))
        throw CFormatError({"BTENTRY", "btkey", entry.key, entry.child.offset});
    return child;
}

std::optional<std::pair<CNdbReader::Page, std::size_t>> CNdbReader::FindLeafEntry(format::PageType tree,
                                                                                  std::uint64_t key)
{
    Page page = ReadTreePage(tree, RootOf(tree));
    for (;;) {
        std::size_t low = 0;
        std::size_t high = page.view.Count();
        while (low < high) {
            const std::size_t middle = low + (high - low) / 2;
            if (page.view.KeyAt(middle) <= key)
                low = middle + 1;
            else
                high = middle;
        }
        if (low == 0)
            return std::nullopt;
        if (page.view.Level() == 0) {
            if (page.view.KeyAt(low - 1) != key)
                return std::nullopt;
            return std::pair(std::move(page), low - 1);
        }
        page = ReadChild(page, low - 1);
    }
}

std::optional<NodeRecord> CNdbReader::FindNode(format::Nid nid)
{
    const auto found = FindLeafEntry(format::PageType::NodeTree, nid.value);
    if (!found)
        return std::nullopt;
    const format::NodeEntry entry = found->first.view.NodeAt(found->second);
    return NodeRecord{nid, {entry.bidData}, {entry.bidSub}, {entry.nidParent}};
}

std::optional<format::BlockEntry> CNdbReader::FindBlock(format::Bid bid)
{
    const auto found = FindLeafEntry(format::PageType::BlockTree, bid.Key());
    if (!found)
        return std::nullopt;
    return found->first.view.BlockAt(found->second);
}

/// Visits the leaf entries below a page; all keys must lie below `upperKey`. False when the visit was ended.
bool CNdbReader::VisitPage(const Page& page, std::uint64_t upperKey, const EntryVisitor& visit,
                           const std::function<bool(std::uint64_t, format::PageType)>* visitPage)
{
    const std::size_t count = page.view.Count();
    for (std::size_t i = 0; i < count; ++i) {
        if (page.view.KeyAt(i) >= upperKey)
            throw CFormatError({"BTPAGE", "btkey", page.view.KeyAt(i), upperKey});
        if (page.view.Level() == 0) {
            if (!visit(page.view, i))
                return false;
            continue;
        }
        if (visitPage != nullptr && !(*visitPage)(page.view.ChildAt(i).child.offset, page.view.Tree()))
            return false;
        const std::uint64_t childUpper = i + 1 < count ? page.view.KeyAt(i + 1) : upperKey;
        if (!VisitPage(ReadChild(page, i), childUpper, visit, visitPage))
            return false;
    }
    return true;
}

void CNdbReader::VisitTree(format::PageType tree, const EntryVisitor& visit,
                           const std::function<bool(std::uint64_t, format::PageType)>* visitPage)
{
    if (visitPage != nullptr && !(*visitPage)(RootOf(tree).offset, tree))
        return;
    VisitPage(ReadTreePage(tree, RootOf(tree)), kNoUpperKey, visit, visitPage);
}

void CNdbReader::VisitNodes(const std::function<bool(const NodeRecord&)>& visit)
{
    VisitTree(
        format::PageType::NodeTree,
        [&visit](const format::CTreePage& page, std::size_t index) {
            const format::NodeEntry entry = page.NodeAt(index);
            return visit({{static_cast<std::uint32_t>(entry.nid)},
                          {entry.bidData},
                          {entry.bidSub},
                          {entry.nidParent}});
        },
        nullptr);
}

void CNdbReader::VisitBlocks(const std::function<bool(const format::BlockEntry&)>& visit)
{
    VisitTree(
        format::PageType::BlockTree,
        [&visit](const format::CTreePage& page, std::size_t index) { return visit(page.BlockAt(index)); },
        nullptr);
}

void CNdbReader::VisitTreePages(const std::function<bool(std::uint64_t, format::PageType)>& visit)
{
    const EntryVisitor all = [](const format::CTreePage&, std::size_t) { return true; };
    bool goOn = true;
    const std::function<bool(std::uint64_t, format::PageType)> visitPage =
        [&](std::uint64_t offset, format::PageType type) { return goOn = visit(offset, type); };
    VisitTree(format::PageType::NodeTree, all, &visitPage);
    if (goOn)
        VisitTree(format::PageType::BlockTree, all, &visitPage);
}

format::SharedBytes CNdbReader::ReadBlock(format::Bid bid)
{
    if (auto cached = m_cache.Find(bid.Key()))
        return cached;
    const auto entry = FindBlock(bid);
    if (!entry)
        throw CFormatError({"BBTENTRY", "bid", bid.value, 0});
    const std::uint64_t offset = entry->reference.offset;
    const std::size_t size = entry->size;
    if (size == 0 || size > m_layout.largestBlock)
        throw CFormatError({"BBTENTRY", "cb", size, offset});
    const std::uint64_t extent = format::BlockExtent(m_layout, size);
    if (offset % m_layout.blockAlignment != 0 || offset > m_header.fileSize ||
        extent > m_header.fileSize - offset)
        throw CFormatError({"BBTENTRY", "ib", offset, offset});
    std::vector<std::byte> bytes = ReadExactly(m_source, offset, extent, "BLOCK");
    const auto trailer =
        format::ParseBlockTrailer(m_layout, format::CByteView(bytes), size, offset, entry->reference.bid);
    if (!trailer || trailer->faults != format::kBlockSound)
        throw CFormatError({"BLOCKTRAILER", "faults", trailer ? trailer->faults : 0u, offset});
    const auto padding = std::span(bytes).subspan(size, extent - size - m_layout.blockTrailerSize);
    if (std::ranges::any_of(padding, [](std::byte b) { return b != std::byte{0}; }))
        throw CFormatError({"BLOCK", "padding", size, offset});
    bytes.resize(size);
    const std::size_t inflated =
        entry->inflatedSize != 0 ? entry->inflatedSize : trailer->trailer.inflatedSize;
    if (!format::UnpackBlock(m_layout, static_cast<format::CryptMethod>(m_header.cryptMethod),
                             entry->reference.bid, inflated, bytes))
        throw CFormatError({"BBTENTRY", "cbInflated", inflated, offset});
    auto shared = std::make_shared<const std::vector<std::byte>>(std::move(bytes));
    m_cache.Insert(bid.Key(), shared);
    return shared;
}

}  // namespace pastille::component::pst
