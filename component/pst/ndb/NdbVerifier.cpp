#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "component/pst/ndb/AllocationPlan.h"
#include "component/pst/ndb/DataTree.h"
#include "component/pst/ndb/NdbReader.h"
#include "format/Block.h"

namespace pastille::component::pst {
namespace {

constexpr std::uint64_t kPageBytes = 512;
/// Nodes below nodes below nodes: more than any mail nests, few enough for the stack.
constexpr unsigned kDeepestNesting = 1024;

class CVerifier {
public:
    CVerifier(platform::IByteSource& source, const format::VariantLayout& layout, FileEnd fileEnd)
        : m_source(source), m_reader(source, layout), m_layout(layout), m_fileEnd(fileEnd)
    {
    }

    void Run()
    {
        VerifyFileSize();
        MarkMapPages();
        MarkTreePages();
        LoadBlocks();
        m_reader.VisitNodes([this](const NodeRecord& node) {
            VerifyNode(node, 0);
            return true;
        });
        VerifyReferences();
        if (Header().amapValid != format::amapvalid::kInvalid)
            VerifyMaps();
    }

private:
    struct BlockUse {
        std::uint64_t bid;
        std::uint32_t expected;  ///< cRef
        std::uint32_t counted;
        bool isWalked;  ///< an internal block whose children have been counted
    };

    const format::FileHeader& Header() const { return m_reader.Header(); }

    void VerifyFileSize()
    {
        const std::uint64_t size = Header().fileSize;
        const std::uint64_t first = format::kFirstAMapOffset;
        if (size <= first || (size - first) % format::kAMapSectionBytes != 0)
            throw CFormatError({"ROOT", "ibFileEof", size, 0});
        if (m_fileEnd == FileEnd::Exact && m_source.Size() != size)
            throw CFormatError({"ROOT", "ibFileEof", size, m_source.Size()});
        m_sections = (size - first) / format::kAMapSectionBytes;
        if (Header().lastAMapOffset != CAllocationPlan::SectionStart(m_sections - 1))
            throw CFormatError({"ROOT", "ibAMapLast", Header().lastAMapOffset, 0});
        m_used.resize(static_cast<std::size_t>((size - first) / format::kAllocationUnit));
    }

    void Mark(const char* structure, std::uint64_t offset, std::uint64_t extent)
    {
        const std::uint64_t first = format::kFirstAMapOffset;
        if (offset < first || extent > Header().fileSize || offset > Header().fileSize - extent)
            throw CFormatError({structure, "ib", offset, offset});
        const std::uint64_t unit = (offset - first) / format::kAllocationUnit;
        for (std::uint64_t i = 0; i < extent / format::kAllocationUnit; ++i) {
            if (m_used[static_cast<std::size_t>(unit + i)])
                throw CFormatError({structure, "ib, of space in use", offset, offset});
            m_used[static_cast<std::size_t>(unit + i)] = true;
        }
    }

    void MarkMapPages()
    {
        for (std::uint64_t section = 0; section < m_sections; ++section)
            for (const MapPagePlace& place : CAllocationPlan::MapPagesOf(section))
                Mark("AMap", place.offset, kPageBytes);
    }

    void MarkTreePages()
    {
        m_reader.VisitTreePages([this](std::uint64_t offset, format::PageType) {
            Mark("BTPAGE", offset, kPageBytes);
            std::array<std::byte, kPageBytes> page{};
            m_source.ReadAt(offset, page);
            const format::CByteView view(page);
            const std::uint64_t bid = view.ReadKey(m_layout.pageBidOffset, m_layout.keyWidth).value_or(0);
            if (bid >= Header().nextPageBid)
                throw CFormatError({"HEADER", "bidNextP", Header().nextPageBid, offset});
            return true;
        });
    }

    void LoadBlocks()
    {
        m_reader.VisitBlocks([this](const format::BlockEntry& entry) {
            const std::uint64_t bid = entry.reference.bid;
            if ((bid & 1) != 0 || bid >= Header().nextBlockBid)
                throw CFormatError({"BBTENTRY", "bid", bid, entry.reference.offset});
            Mark("BLOCK", entry.reference.offset, format::BlockExtent(m_layout, entry.size));
            m_blocks.push_back({bid, entry.references, 0, false});
            return true;
        });
    }

    /// Counts a reference. True when the block is met for the first time.
    bool Count(format::Bid bid)
    {
        const auto at = std::ranges::lower_bound(m_blocks, bid.Key(), {}, &BlockUse::bid);
        if (at == m_blocks.end() || at->bid != bid.Key())
            throw CFormatError({"BBTENTRY", "bid", bid.value, 0});
        ++at->counted;
        return !std::exchange(at->isWalked, true);
    }

    void VerifyDataTree(format::Bid root)
    {
        if (root.value == 0 || !Count(root))
            return;
        CountChildren(root);
        CDataTreeReader tree(m_reader, root);
        tree.VisitBlocks([](std::span<const std::byte>) { return true; });
    }

    void CountChildren(format::Bid bid)
    {
        if (!bid.IsInternal())
            return;
        const format::SharedBytes bytes = m_reader.ReadBlock(bid);
        const auto tree = Require(format::CDataTreeBlock::Parse(m_layout, format::CByteView(*bytes)));
        for (std::size_t i = 0; i < tree.Count(); ++i)
            if (Count({tree.ChildAt(i)}) && tree.Level() == 2)
                CountChildren({tree.ChildAt(i)});
    }

    void VerifySubnodes(format::Bid root, unsigned depth)
    {
        if (root.value == 0 || !Count(root))
            return;
        const format::SharedBytes bytes = m_reader.ReadBlock(root);
        const auto block = Require(format::CSubnodeBlock::Parse(m_layout, format::CByteView(*bytes)));
        if (block.Level() == 1)
            for (std::size_t i = 0; i < block.Count(); ++i)
                Count({block.ChildAt(i).bid});
        VisitSubnodes(m_reader, root, [&](const NodeRecord& subnode) {
            VerifyNode(subnode, depth + 1);
            return true;
        });
    }

    void VerifyNode(const NodeRecord& node, unsigned depth)
    {
        if (depth > kDeepestNesting)
            throw CFormatError({"SLENTRY", "bidSub", node.sub.value, 0});
        if (node.nid.Index() >= 0x400 &&
            node.nid.Index() > Header().lastNodeIndex[static_cast<std::size_t>(node.nid.Type())])
            throw CFormatError({"HEADER", "rgnid", node.nid.value, 0});
        VerifyDataTree(node.data);
        VerifySubnodes(node.sub, depth);
    }

    void VerifyReferences() const
    {
        for (const BlockUse& block : m_blocks)
            if (block.counted == 0 || block.counted + 1 != block.expected)
                throw CFormatError({"BBTENTRY", "cRef", block.expected, block.bid});
    }

    void VerifyMaps()
    {
        std::uint64_t freeUnits = 0;
        for (std::uint64_t section = 0; section < m_sections; ++section)
            for (const MapPagePlace& place : CAllocationPlan::MapPagesOf(section))
                freeUnits += VerifyMapPage(section, place);
        if (Header().freeBytes != freeUnits * format::kAllocationUnit)
            throw CFormatError({"ROOT", "cbAMapFree", Header().freeBytes, 0});
        if (Header().freePageBytes != 0)
            throw CFormatError({"ROOT", "cbPMapFree", Header().freePageBytes, 0});
        VerifyTrailer({format::PageType::DensityList, format::kDensityListOffset});
    }

    std::array<std::byte, kPageBytes> VerifyTrailer(const MapPagePlace& place)
    {
        std::array<std::byte, kPageBytes> page{};
        if (m_source.ReadAt(place.offset, page) != page.size())
            throw CFormatError({"AMap", "bytes read", 0, place.offset});
        const auto trailer = format::ParsePageTrailer(m_layout, format::CByteView(page), place.offset);
        if (!trailer || trailer->trailer.type != place.type || trailer->faults != format::kPageSound ||
            (format::IsMapPage(place.type) && trailer->trailer.bid != place.offset))
            throw CFormatError({"AMap", "PAGETRAILER", trailer ? trailer->faults : 0u, place.offset});
        return page;
    }

    /// Number of free units that an allocation map shows; 0 for the other map pages, which are full.
    std::uint64_t VerifyMapPage(std::uint64_t section, const MapPagePlace& place)
    {
        const auto page = VerifyTrailer(place);
        const std::size_t mapStart = m_layout.wide ? 0 : 4;
        std::uint64_t freeUnits = 0;
        for (std::size_t i = 0; i < CAllocationPlan::kMapBytes * 8; ++i) {
            const bool isSet =
                (page[mapStart + i / 8] & static_cast<std::byte>(0x80u >> (i % 8))) != std::byte{0};
            const std::size_t unit = static_cast<std::size_t>(section) * CAllocationPlan::kMapBytes * 8 + i;
            const bool expected = place.type != format::PageType::AllocationMap || m_used[unit];
            if (isSet != expected)
                throw CFormatError({"AMap", "rgbAMapBits", i, place.offset});
            freeUnits += isSet ? 0 : 1;
        }
        return freeUnits;
    }

    platform::IByteSource& m_source;
    CNdbReader m_reader;
    const format::VariantLayout& m_layout;
    FileEnd m_fileEnd;
    std::uint64_t m_sections = 0;
    std::vector<bool> m_used;  ///< per unit of 64 bytes from the first AMap on
    std::vector<BlockUse> m_blocks;
};

}  // namespace

void VerifyNodeDatabase(platform::IByteSource& source, const format::VariantLayout& layout, FileEnd fileEnd)
{
    CVerifier(source, layout, fileEnd).Run();
}

}  // namespace pastille::component::pst
