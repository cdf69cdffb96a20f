#include "check/NdbMaps.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <utility>

#include "format/Block.h"
#include "format/Bytes.h"

namespace pastille::check {
namespace {

using format::PageType;

constexpr std::uint64_t kSectionsPerPMap = 8;
// A map of the free space of sections stands in every 496th from here on, one of page maps in every 31,744th.
constexpr std::uint64_t kFirstFMapSection = 128;
constexpr std::uint64_t kSectionsPerFMap = 496;
constexpr std::uint64_t kFirstFPMapSection = 8192;
constexpr std::uint64_t kSectionsPerFPMap = 31744;

/// Where the maps of a variant lie and what their bits stand for.
struct MapLayout {
    std::uint64_t first;
    std::size_t unit;      ///< bytes that one bit stands for
    std::size_t mapBytes;  ///< of the bitmap
    std::size_t mapStart;  ///< of the bitmap in its page
    std::size_t pageBytes;
    std::uint64_t SectionBytes() const { return std::uint64_t{mapBytes} * 8 * unit; }
};

MapLayout MapsOf(const NdbFile& file)
{
    if (file.Is4k())
        return {file.FirstAMap(), 512, 4072, 0, 4096};
    return {file.FirstAMap(), format::kAllocationUnit, 496, file.layout->wide ? std::size_t{0} : 4, 512};
}

/// Space in use. 16 bytes.
struct Use {
    static constexpr std::uint32_t kPage = 0xFFFFFFFF;
    std::uint64_t offset;
    std::uint32_t extent;
    std::uint32_t block;  ///< its number in the table, or kPage
};

class CMapCheck {
public:
    CMapCheck(const NdbFile& file, CBlockTable& blocks, bool isWhole)
        : m_file(file), m_maps(MapsOf(file)), m_blocks(blocks), m_isWhole(isWhole)
    {
        if (file.end > m_maps.first)
            m_sections = (file.end - m_maps.first - 1) / m_maps.SectionBytes() + 1;
    }

    void Run(const std::vector<PageUse>& pages)
    {
        CollectUses(pages);
        FindOverlaps();
        for (std::uint64_t section = 0; section < m_sections; ++section)
            CheckSection(section);
        CompareFree();
        if (!m_file.Is4k())
            CheckDensityList();
    }

private:
    std::uint64_t SectionStart(std::uint64_t section) const
    {
        return m_maps.first + section * m_maps.SectionBytes();
    }

    std::vector<PageType> MapPagesOf(std::uint64_t section) const
    {
        std::vector<PageType> types{PageType::AllocationMap};
        if (m_file.Is4k())
            return types;
        if (section % kSectionsPerPMap == 0)
            types.push_back(PageType::PageMap);
        if (section >= kFirstFMapSection && (section - kFirstFMapSection) % kSectionsPerFMap == 0)
            types.push_back(PageType::FreeMap);
        if (section >= kFirstFPMapSection && (section - kFirstFPMapSection) % kSectionsPerFPMap == 0)
            types.push_back(PageType::FreePageMap);
        return types;
    }

    void CollectUses(const std::vector<PageUse>& pages)
    {
        m_uses.reserve(pages.size() + m_blocks.Count() + m_sections + m_sections / 4);
        const auto pageBytes = static_cast<std::uint32_t>(m_maps.pageBytes);
        for (const PageUse& page : pages)
            m_uses.push_back({page.offset, pageBytes, Use::kPage});
        for (std::uint64_t section = 0; section < m_sections; ++section)
            for (std::size_t i = 0; i < MapPagesOf(section).size(); ++i)
                m_uses.push_back({SectionStart(section) + i * pageBytes, pageBytes, Use::kPage});
        for (std::size_t i = 0; i < m_blocks.Count(); ++i) {
            const BlockRecord& block = m_blocks.All()[i];
            m_isWhole = m_isWhole && block.isPlaced;
            if (block.isPlaced)
                m_uses.push_back({block.offset,
                                  static_cast<std::uint32_t>(format::BlockExtent(*m_file.layout, block.size)),
                                  static_cast<std::uint32_t>(i)});
        }
        std::ranges::sort(m_uses, {}, &Use::offset);
    }

    std::string PlaceOf(const Use& use) const
    {
        return use.block == Use::kPage ? PagePlace(use.offset) : BlockPlace(m_blocks.All()[use.block].bid);
    }

    void FindOverlaps() const
    {
        const Use* furthest = nullptr;
        for (const Use& use : m_uses) {
            if (furthest != nullptr && use.offset < furthest->offset + furthest->extent)
                m_file.findings.Add(rules::kOverlap, PlaceOf(use),
                                    PlaceOf(*furthest) + " too, at " + Hex(use.offset));
            if (furthest == nullptr || use.offset + use.extent > furthest->offset + furthest->extent)
                furthest = &use;
        }
    }

    /// The bits that a section's map should have, from the uses that reach into it.
    std::vector<std::byte> ExpectedBits(std::uint64_t section)
    {
        std::vector<std::byte> bits(m_maps.mapBytes);
        const std::uint64_t start = SectionStart(section);
        const std::uint64_t end = start + m_maps.SectionBytes();
        while (m_nextUse < m_uses.size() && m_uses[m_nextUse].offset + m_uses[m_nextUse].extent <= start)
            ++m_nextUse;
        for (std::size_t i = m_nextUse; i < m_uses.size() && m_uses[i].offset < end; ++i) {
            const std::uint64_t from = std::max(m_uses[i].offset, start);
            const std::uint64_t to = std::min(m_uses[i].offset + m_uses[i].extent, end);
            for (std::uint64_t unit = (from - start) / m_maps.unit; unit * m_maps.unit < to - start; ++unit)
                bits[static_cast<std::size_t>(unit / 8)] |= static_cast<std::byte>(0x80u >> (unit % 8));
        }
        return bits;
    }

    /// The bitmap of a map page; nothing when the page is not sound.
    std::optional<std::vector<std::byte>> ReadMap(PageType type, std::uint64_t offset)
    {
        std::vector<std::byte> page(m_maps.pageBytes);
        const auto note = [&](const std::string& detail) {
            // A store that is being written has none yet: one finding says so.
            if (!m_file.IsOpen() || !std::exchange(m_isMapNoted, true))
                m_file.Add(rules::kMapPage, PagePlace(offset), detail);
            return std::nullopt;
        };
        if (!m_file.Read(offset, page))
            return note("cannot be read");
        const auto checked = format::ParsePageTrailer(*m_file.layout, format::CByteView(page), offset);
        if (!checked || checked->trailer.type != type)
            return note("ptype is not " + Hex(static_cast<std::uint8_t>(type)));
        if (checked->trailer.bid != offset)
            return note("bid " + Hex(checked->trailer.bid));
        if (checked->faults != format::kPageSound)
            return note((checked->faults & format::kPageBadCrc) != 0
                            ? "dwCRC " + Hex(checked->trailer.crc)
                            : "wSig " + Hex(checked->trailer.signature));
        const auto bits = page.begin() + static_cast<std::ptrdiff_t>(m_maps.mapStart);
        return std::vector<std::byte>(bits, bits + static_cast<std::ptrdiff_t>(m_maps.mapBytes));
    }

    void CheckSection(std::uint64_t section)
    {
        std::optional<std::vector<std::byte>> map;
        const std::vector<PageType> types = MapPagesOf(section);
        for (std::size_t i = 0; i < types.size(); ++i) {
            auto bits = ReadMap(types[i], SectionStart(section) + i * m_maps.pageBytes);
            if (types[i] == PageType::AllocationMap)
                map = std::move(bits);
            else if (types[i] == PageType::PageMap)
                TakePageMap(std::move(bits));
        }
        const std::vector<std::byte> expected = ExpectedBits(section);
        if (!map) {
            m_areFreeKnown = false;
            return;
        }
        for (const std::byte b : *map)
            m_freeUnits += 8 - std::popcount(std::to_integer<unsigned>(b));
        CheckReservedPages(section, *map, expected);
        CompareBits(section, *map, expected);
    }

    void TakePageMap(std::optional<std::vector<std::byte>> bits)
    {
        m_pageMap = std::move(bits);
        if (!m_pageMap)
            m_areFreePagesKnown = false;
        else
            for (const std::byte b : *m_pageMap)
                m_freePages += 8 - std::popcount(std::to_integer<unsigned>(b));
    }

    /// True when the page map shows page number `page` of the section as kept for trees and not in use.
    bool IsReserved(std::uint64_t section, std::size_t page) const
    {
        if (m_file.Is4k() || !m_pageMap)
            return false;
        const std::size_t bit = static_cast<std::size_t>(section % kSectionsPerPMap) * m_maps.mapBytes + page;
        return ((*m_pageMap)[bit / 8] & static_cast<std::byte>(0x80u >> (bit % 8))) == std::byte{0};
    }

    /// A byte of an allocation map stands for one page.
    void CheckReservedPages(std::uint64_t section, const std::vector<std::byte>& map,
                            const std::vector<std::byte>& expected) const
    {
        for (std::size_t page = 0; page < map.size(); ++page) {
            if (IsReserved(section, page) &&
                (expected[page] != std::byte{0} || map[page] != std::byte{0xFF})) {
                m_file.Add(rules::kPMapBits, PagePlace(SectionStart(section) + page * m_maps.pageBytes),
                           expected[page] != std::byte{0} ? "in use" : "not marked in the allocation map");
                return;
            }
        }
    }

    void CompareBits(std::uint64_t section, const std::vector<std::byte>& map,
                     const std::vector<std::byte>& expected) const
    {
        Difference unmarked;
        Difference surplus;
        const std::uint64_t start = SectionStart(section);
        for (std::size_t i = 0; i < map.size(); ++i) {
            if (map[i] == expected[i])
                continue;
            unmarked.Add(i, expected[i] & ~map[i]);
            const bool isBehindEnd = start + (i + 1) * 8 * m_maps.unit > m_file.end;
            if (m_isWhole && !isBehindEnd && !IsReserved(section, i))
                surplus.Add(i, map[i] & ~expected[i]);
        }
        Note(rules::kAMapUnmarked, start, unmarked);
        Note(rules::kAMapSurplus, start, surplus);
    }

    struct Difference {
        std::uint64_t count = 0;
        std::uint64_t first = 0;

        void Add(std::size_t byte, std::byte bits)
        {
            const auto value = std::to_integer<std::uint8_t>(bits);
            if (value != 0 && count == 0)
                first = byte * 8 + static_cast<std::uint64_t>(std::countl_zero(value));
            count += static_cast<std::uint64_t>(std::popcount(value));
        }
    };

    void Note(const rules::ClosedRule& rule, std::uint64_t start, const Difference& difference) const
    {
        if (difference.count == 0)
            return;
        const std::uint64_t offset = start + difference.first * m_maps.unit;
        std::string detail =
            std::to_string(difference.count * m_maps.unit) + " bytes, the first at " + Hex(offset);
        const auto use =
            std::ranges::find_if(m_uses.begin() + static_cast<std::ptrdiff_t>(m_nextUse), m_uses.end(),
                                 [&](const Use& each) { return each.offset + each.extent > offset; });
        if (use != m_uses.end() && use->offset <= offset)
            detail += ", " + PlaceOf(*use);
        m_file.Add(rule, PagePlace(start), detail);
    }

    void CompareFree() const
    {
        if (m_file.Is4k())
            return;  // nothing is known of what these files have there
        const auto compare = [&](const rules::ClosedRule& rule, std::uint64_t found, std::uint64_t wanted) {
            if (found != wanted)
                m_file.Add(rule, "header", std::to_string(found) + " instead of " + std::to_string(wanted));
        };
        if (m_areFreeKnown)
            compare(rules::kAMapFree, m_file.header.freeBytes, m_freeUnits * m_maps.unit);
        if (m_areFreePagesKnown)
            compare(rules::kPMapFree, m_file.header.freePageBytes, m_freePages * m_maps.pageBytes);
    }

    /// Many programs leave the page empty, or its body zero under a sound trailer.
    void CheckDensityList() const
    {
        std::vector<std::byte> page(m_maps.pageBytes);
        const std::uint64_t offset = format::kDensityListOffset;
        if (!m_file.Read(offset, page)) {
            m_file.findings.Add(rules::kPageUnreadable, PagePlace(offset));
            return;
        }
        if (std::ranges::all_of(page, [](std::byte b) { return b == std::byte{0}; }))
            return;
        const auto checked = format::ParsePageTrailer(*m_file.layout, format::CByteView(page), offset);
        if (!checked || checked->trailer.type != PageType::DensityList ||
            checked->faults != format::kPageSound)
            m_file.findings.Add(rules::kDensityList, PagePlace(offset));
    }

    const NdbFile& m_file;
    MapLayout m_maps;
    CBlockTable& m_blocks;
    bool m_isWhole;  ///< where all pages and blocks lie is known
    std::uint64_t m_sections = 0;
    std::vector<Use> m_uses;
    bool m_isMapNoted = false;
    std::size_t m_nextUse = 0;
    std::optional<std::vector<std::byte>> m_pageMap;  ///< of the section at hand and its neighbours
    std::uint64_t m_freeUnits = 0;
    std::uint64_t m_freePages = 0;
    bool m_areFreeKnown = true;
    bool m_areFreePagesKnown = true;
};

}  // namespace

void CheckMaps(const NdbFile& file, const std::vector<PageUse>& pages, CBlockTable& blocks, bool isWhole)
{
    CMapCheck(file, blocks, isWhole).Run(pages);
}

}  // namespace pastille::check
