#include "store/DamageMap.h"

#include <algorithm>
#include <span>
#include <utility>

#include "format/Block.h"
#include "format/Header.h"
#include "format/Page.h"
#include "store/OccupiedSpace.h"
#include "store/WindowScan.h"

namespace pastille::store {
namespace {

/// A stretch of the file that holds a block or a page, padding and trailer included.
struct Extent {
    std::uint64_t start;
    std::uint32_t length;

    std::uint64_t End() const { return start + length; }
};

/// A block of the table and where it ends. 16 bytes, and no longer than a window can see.
struct PlacedBlock {
    std::uint64_t start;
    std::uint32_t bid;
    std::uint16_t dataBytes;
    std::uint16_t rest;  ///< padding and trailer

    std::uint64_t End() const { return start + dataBytes + rest; }
    Extent Place() const { return {start, std::uint32_t{dataBytes} + rest}; }
};

/// The blocks in the order of their ends, so that a window that moves on meets them one after the other.
std::vector<PlacedBlock> ByEnd(const format::VariantLayout& layout, std::span<const BlockRecord> records)
{
    std::vector<PlacedBlock> blocks;
    blocks.reserve(records.size());
    for (const BlockRecord& record : records) {
        if (record.cb > layout.largestBlock)
            continue;  // a damaged entry: it says nothing of the place that it names
        const std::uint64_t extent = format::BlockExtent(layout, record.cb);
        blocks.push_back({record.ib, record.bid, static_cast<std::uint16_t>(record.cb),
                          static_cast<std::uint16_t>(extent - record.cb)});
    }
    std::ranges::sort(blocks, {}, &PlacedBlock::End);
    return blocks;
}

/// Where the allocation maps of a variant lie: one page at the start of each section.
struct MapLayout {
    std::uint64_t first;  ///< file offset of the first one
    std::uint64_t sectionBytes;
    std::size_t bitmapOffset;
    std::size_t bitmapBytes;
    std::size_t unit;  ///< bytes that one bit stands for
    bool isCertain;    ///< the places are documented, so that a map that is not there is lost
};

MapLayout MapLayoutOf(const format::VariantLayout& layout)
{
    if (layout.variant == format::Variant::Unicode4k)
        return {0x22000, std::uint64_t{4072} * 8 * 512, 0, 4072, 512, false};
    const std::size_t padding = layout.wide ? 0 : 4;
    return {format::kFirstAMapOffset, format::kAMapSectionBytes, padding, 496, format::kAllocationUnit, true};
}

/// What the sound allocation maps of a file say. [MS-PST] 2.2.2.7.2
class CAllocationMaps {
public:
    explicit CAllocationMaps(const MapLayout& layout) : m_layout(layout) {}

    void Add(std::uint64_t offset, std::span<const std::byte> bitmap)
    {
        const auto section = static_cast<std::size_t>((offset - m_layout.first) / m_layout.sectionBytes);
        if (m_bitmaps.size() <= section)
            m_bitmaps.resize(section + 1);
        m_bitmaps[section].assign(bitmap.begin(), bitmap.end());
    }

    /// True when a map says that a part of the extent is free.
    bool IsFree(const Extent& extent) const
    {
        for (std::uint64_t at = extent.start / m_layout.unit * m_layout.unit; at < extent.End();
             at += m_layout.unit) {
            if (IsUnitFree(at))
                return true;
        }
        return false;
    }

private:
    bool IsUnitFree(std::uint64_t offset) const
    {
        if (offset < m_layout.first)
            return false;
        const std::uint64_t section = (offset - m_layout.first) / m_layout.sectionBytes;
        const std::uint64_t bit = (offset - m_layout.first) % m_layout.sectionBytes / m_layout.unit;
        if (section >= m_bitmaps.size() || bit / 8 >= m_bitmaps[static_cast<std::size_t>(section)].size())
            return false;
        const std::byte byte =
            m_bitmaps[static_cast<std::size_t>(section)][static_cast<std::size_t>(bit / 8)];
        return (byte & (std::byte{0x80} >> (bit % 8))) == std::byte{0};
    }

    MapLayout m_layout;
    std::vector<std::vector<std::byte>> m_bitmaps;  ///< by section; empty where no map is sound
};

/// What one window of the file shows.
struct WindowFindings {
    struct Map {
        std::uint64_t offset;
        std::vector<std::byte> bitmap;
    };
    std::vector<Map> maps;
    std::vector<Extent> sound;
    std::vector<Extent> failedBlocks;
    std::vector<Extent> failedPages;
};

class CWindowCheck {
public:
    /// `blocks` in the order of their ends; both must outlive this object.
    CWindowCheck(const format::VariantLayout& layout, std::span<const PlacedBlock> blocks)
        : m_layout(layout), m_maps(MapLayoutOf(layout)), m_blocks(blocks)
    {
    }

    WindowFindings operator()(const ScanWindow& window) const
    {
        WindowFindings findings;
        CheckPages(window, findings);
        CheckBlocks(window, findings);
        return findings;
    }

private:
    void CheckPages(const ScanWindow& window, WindowFindings& findings) const
    {
        const auto pageSize = static_cast<std::uint32_t>(m_layout.pageSize);
        for (std::size_t at = 0; at + pageSize <= window.transferred; at += pageSize) {
            const std::uint64_t offset = window.start + at;
            const format::CByteView page = window.At(offset, pageSize);
            const auto trailer = format::ParsePageTrailer(m_layout, page, offset);
            const bool isSound = trailer && trailer->faults == format::kPageSound;
            if (isSound)
                findings.sound.push_back({offset, pageSize});
            if (offset >= m_maps.first && (offset - m_maps.first) % m_maps.sectionBytes == 0)
                TakeMap(offset, page, trailer, findings);
            else if (trailer && !isSound && IsTreePage(trailer->trailer.type, page))
                findings.failedPages.push_back({offset, pageSize});
        }
    }

    void TakeMap(std::uint64_t offset, format::CByteView page,
                 const std::optional<format::CheckedPageTrailer>& trailer, WindowFindings& findings) const
    {
        const bool isMap = trailer && trailer->trailer.type == format::PageType::AllocationMap;
        if (isMap && trailer->faults == format::kPageSound) {
            const auto bitmap = page.Bytes().subspan(m_maps.bitmapOffset, m_maps.bitmapBytes);
            findings.maps.push_back({offset, {bitmap.begin(), bitmap.end()}});
        } else if (isMap || m_maps.isCertain) {
            findings.failedPages.push_back({offset, static_cast<std::uint32_t>(m_layout.pageSize)});
        }
    }

    /// Any bytes may happen to have a page's type in the right place.
    bool IsTreePage(format::PageType type, format::CByteView page) const
    {
        constexpr unsigned kDeepest = 8;
        const std::size_t entrySize = page.ReadOrZero<std::uint8_t>(m_layout.entrySizeOffset);
        const unsigned level = page.ReadOrZero<std::uint8_t>(m_layout.entrySizeOffset + 1);
        return (type == format::PageType::BlockTree || type == format::PageType::NodeTree) &&
               level <= kDeepest && entrySize == format::TreeEntrySize(m_layout, type, level);
    }

    void CheckBlocks(const ScanWindow& window, WindowFindings& findings) const
    {
        // Blocks lie beside each other; only a hostile table lays many over one place.
        std::uint64_t bytesLeft = 4 * (ScanWindow::kLength + ScanWindow::kHistory);
        auto block = std::ranges::upper_bound(m_blocks, window.start, {}, &PlacedBlock::End);
        const auto last =
            std::ranges::upper_bound(m_blocks, window.start + window.transferred, {}, &PlacedBlock::End);
        for (; block != last; ++block) {
            const Extent extent = block->Place();
            if (extent.length > bytesLeft)
                return;
            bytesLeft -= extent.length;
            const auto trailer = format::ParseBlockTrailer(m_layout, window.At(extent.start, extent.length),
                                                           block->dataBytes, extent.start, block->bid);
            const bool isSound = trailer && trailer->faults == format::kBlockSound;
            (isSound ? findings.sound : findings.failedBlocks).push_back(extent);
        }
    }

    const format::VariantLayout& m_layout;
    MapLayout m_maps;
    std::span<const PlacedBlock> m_blocks;
};

/// Joins what the windows show to a map.
class CMapMaker {
public:
    CMapMaker(CSourceFile& file, const format::VariantLayout& layout)
        : m_file(file), m_layout(layout), m_allocated(MapLayoutOf(layout))
    {
    }

    void Take(WindowFindings findings)
    {
        for (const WindowFindings::Map& map : findings.maps)
            m_allocated.Add(map.offset, map.bitmap);
        for (const Extent& extent : findings.sound)
            m_sound.Add(extent.start, extent.length);
        const auto append = [](std::vector<Extent>& to, const std::vector<Extent>& from) {
            to.insert(to.end(), from.begin(), from.end());
        };
        append(m_failedBlocks, findings.failedBlocks);
        append(m_failedPages, findings.failedPages);
    }

    /// `cutOff`: blocks that end behind the file.
    DamageMap Make(std::span<const PlacedBlock> cutOff)
    {
        constexpr std::uint64_t kStretch = DamageMap::kStretchBytes;
        DamageMap map;
        map.stretches.resize(static_cast<std::size_t>((m_file.Size() + kStretch - 1) / kStretch));
        CheckHeader(map);
        m_sound.Finish();
        map.damagedBlocks = Mark(m_failedBlocks, map);
        map.damagedPages = Mark(m_failedPages, map);
        for (const PlacedBlock& block : cutOff)
            map.damagedBlocks += Mark(block.Place(), map);
        for (const CSourceFile::Range& range : m_file.UnreadableRanges())
            MarkStretches(map, range.offset, range.offset + range.length, DamageMap::Stretch::Unreadable);
        return map;
    }

private:
    void CheckHeader(DamageMap& map)
    {
        std::vector<std::byte> bytes(m_layout.headerBytes);
        m_file.Read(0, bytes);
        const auto header = format::DecodeHeader(m_layout, format::CByteView(bytes));
        map.isHeaderSound = header && header->faults == format::kHeaderSound;
        if (map.isHeaderSound)
            map.declaredSize = header->header.fileSize;
        else
            MarkStretches(map, 0, m_layout.headerBytes, DamageMap::Stretch::Damaged);
    }

    std::uint64_t Mark(const std::vector<Extent>& failed, DamageMap& map) const
    {
        std::uint64_t count = 0;
        for (const Extent& extent : failed)
            count += Mark(extent, map);
        return count;
    }

    bool Mark(const Extent& extent, DamageMap& map) const
    {
        if (m_sound.Overlaps(extent.start, extent.length) || m_allocated.IsFree(extent))
            return false;
        // What cannot be read is damage of its own kind, and it is known where that lies.
        if (m_file.UnreadableIn(extent.start, extent.length).empty())
            MarkStretches(map, extent.start, extent.End(), DamageMap::Stretch::Damaged);
        return true;
    }

    static void MarkStretches(DamageMap& map, std::uint64_t start, std::uint64_t end,
                              DamageMap::Stretch state)
    {
        if (start >= end)
            return;
        const std::uint64_t last = (end - 1) / DamageMap::kStretchBytes;
        for (std::uint64_t i = start / DamageMap::kStretchBytes; i <= last && i < map.stretches.size(); ++i)
            map.stretches[static_cast<std::size_t>(i)] = state;
    }

    CSourceFile& m_file;
    const format::VariantLayout& m_layout;
    CAllocationMaps m_allocated;
    COccupiedSpace m_sound;
    std::vector<Extent> m_failedBlocks;
    std::vector<Extent> m_failedPages;
};

}  // namespace

std::optional<DamageMap> MapDamage(CSourceStore& source, const std::function<bool(std::uint64_t)>& proceed)
{
    const format::VariantLayout& layout = source.reader.Layout();
    const std::vector<PlacedBlock> blocks = ByEnd(layout, source.blocks.Records());
    CMapMaker maker(source.file, layout);
    const bool complete = ScanWindows(source.file, 0, CWindowCheck(layout, blocks),
                                      [&](WindowFindings findings, const ScanWindow& window) {
                                          maker.Take(std::move(findings));
                                          return proceed(window.start + window.transferred);
                                      });
    if (!complete)
        return std::nullopt;
    const auto cutOff = std::ranges::upper_bound(blocks, source.file.Size(), {}, &PlacedBlock::End);
    return maker.Make({cutOff, blocks.end()});
}

}  // namespace pastille::store
