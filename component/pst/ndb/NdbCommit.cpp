#include <algorithm>
#include <array>
#include <functional>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "component/pst/ndb/NdbWriter.h"
#include "format/Page.h"

namespace pastille::component::pst {
namespace {

constexpr const format::VariantLayout& kLayout = format::kUnicodeLayout;
constexpr std::size_t kPageBytes = 512;
using PageBytes = std::array<std::byte, kPageBytes>;

/// Builds one B-tree from entries given by rising key: leaves as they fill, the levels above from the leaves'
/// first keys. [MS-PST] 2.2.2.7.7
class CTreeBuilder {
public:
    /// Stores a finished page: takes its level and its number of entries, returns where it went.
    using StorePage = std::function<format::BlockReference(PageBytes&, unsigned level, std::size_t count)>;

    CTreeBuilder(format::PageType tree, StorePage store) : m_tree(tree), m_store(std::move(store)) {}

    /// Room for the next leaf entry, whose key is `key`.
    std::span<std::byte> AddLeafEntry(std::uint64_t key) { return AddEntry(0, key); }

    format::BlockReference Finish()
    {
        if (m_levels.empty())
            m_levels.emplace_back();
        // Closing a level may open the one above; the topmost one with a single page is the root.
        for (unsigned level = 0;; ++level) {
            if (level + 1 == m_levels.size() && m_levels[level].pages == 0)
                return m_store(m_levels[level].page, level, m_levels[level].count);
            if (m_levels[level].count != 0)
                ClosePage(level);
        }
    }

private:
    struct Level {
        PageBytes page{};
        std::size_t count = 0;
        std::size_t pages = 0;  ///< closed so far
        std::uint64_t firstKey = 0;
    };

    std::span<std::byte> AddEntry(unsigned level, std::uint64_t key)
    {
        if (m_levels.size() <= level)
            m_levels.emplace_back();
        const std::size_t entrySize = format::TreeEntrySize(kLayout, m_tree, level);
        if (m_levels[level].count == format::TreePageCapacity(kLayout, entrySize))
            ClosePage(level);
        Level& open = m_levels[level];
        if (open.count == 0)
            open.firstKey = key;
        return std::span(open.page).subspan(open.count++ * entrySize, entrySize);
    }

    void ClosePage(unsigned level)
    {
        const std::uint64_t firstKey = m_levels[level].firstKey;
        const format::BlockReference place = m_store(m_levels[level].page, level, m_levels[level].count);
        m_levels[level].count = 0;
        ++m_levels[level].pages;
        format::EncodeIndexEntry(kLayout, {firstKey, place}, AddEntry(level + 1, firstKey));
    }

    format::PageType m_tree;
    StorePage m_store;
    std::vector<Level> m_levels;
};

}  // namespace

format::BlockReference CNdbWriter::WriteTree(format::PageType tree)
{
    CTreeBuilder builder(tree, [&](PageBytes& page, unsigned level, std::size_t count) {
        const format::BlockReference place{m_header.nextPageBid++, m_plan.TakePage()};
        m_plan.Mark(place.offset, kPageBytes);
        m_treePages.push_back(place.offset);
        format::EncodeTreePage(kLayout, page, tree, level, count, place.offset, place.bid);
        std::ranges::copy(page, m_output.Reserve(place.offset, kPageBytes).begin());
        return place;
    });
    if (tree == format::PageType::NodeTree) {
        for (const Node& node : m_nodes.Sorted())
            format::EncodeNodeEntry(kLayout, {node.nid, node.data, node.sub, node.parent},
                                    builder.AddLeafEntry(node.nid));
        return builder.Finish();
    }
    for (std::size_t i = 0; i < m_blocks.size(); ++i) {
        const Block& block = m_blocks[i];
        if (block.references == 0)
            continue;
        const std::uint64_t bid = (i + 1) * 4 | (block.isInternal ? 2 : 0);
        const auto references = static_cast<std::uint16_t>(block.references + 1);
        format::EncodeBlockEntry(kLayout, {{bid, block.offset}, block.size, block.size, references},
                                 builder.AddLeafEntry(bid));
    }
    return builder.Finish();
}

void CNdbWriter::WriteMapPages()
{
    const std::uint64_t sections = m_plan.SectionCount();
    PageBytes page;
    for (std::uint64_t section = 0; section < sections; ++section) {
        const bool isNew = section >= m_mapSections;
        if (!isNew && !m_plan.IsDirty(section))
            continue;
        for (const MapPagePlace& place : CAllocationPlan::MapPagesOf(section)) {
            const bool isAMap = place.type == format::PageType::AllocationMap;
            if (!isAMap && !isNew)
                continue;
            page.fill(std::byte{0xFF});
            if (isAMap)
                std::ranges::copy(m_plan.Bitmap(section), page.begin());
            format::EncodePageTrailer(kLayout, page, place.type, place.offset, place.offset);
            m_file.WriteAt(place.offset, page);
        }
        m_plan.SetClean(section);
    }
    m_mapSections = sections;
    page.fill(std::byte{0});
    format::EncodePageTrailer(kLayout, page, format::PageType::DensityList, format::kDensityListOffset,
                              m_header.nextPageBid);
    m_file.WriteAt(format::kDensityListOffset, page);
}

void CNdbWriter::WriteHeader(const format::FileHeader& header)
{
    std::array<std::byte, format::kUnicodeLayout.headerBytes> bytes;
    format::EncodeHeader(kLayout, header, bytes);
    m_file.WriteAt(0, bytes);
    m_file.Sync();
}

void CNdbWriter::Commit()
{
    if (m_nodes.Size() == 0)
        throw std::logic_error("a store has at least one node");
    Guard([&] {
        const std::vector<std::uint64_t> oldTreePages = std::exchange(m_treePages, {});
        m_header.blockTree = WriteTree(format::PageType::BlockTree);
        m_header.nodeTree = WriteTree(format::PageType::NodeTree);
        m_output.Flush();
        m_file.SetSize(m_plan.FileSize());
        for (const std::uint64_t offset : oldTreePages)
            m_plan.Clear(offset, kPageBytes);
        // From here on the maps on disk do not fit the trees that the header on disk names: it has to say so.
        if (m_onDisk) {
            m_onDisk->amapValid = format::amapvalid::kInvalid;
            WriteHeader(*m_onDisk);
        }
        WriteMapPages();
        m_file.Sync();
        m_header.nextBlockBid = (m_blocks.size() + 1) * 4;
        m_header.fileSize = m_plan.FileSize();
        m_header.lastAMapOffset = m_plan.LastAMapOffset();
        m_header.freeBytes = m_plan.FreeBytes();
        m_header.amapValid = format::amapvalid::kValid;
        ++m_header.unique;
        WriteHeader(m_header);
        m_onDisk = m_header;
    });
}

}  // namespace pastille::component::pst
