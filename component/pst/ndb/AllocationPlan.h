#pragma once

#include <cstdint>
#include <vector>

#include "format/Layout.h"
#include "format/Page.h"

namespace pastille::component::pst {

/// A map page and where it stands.
struct MapPagePlace {
    format::PageType type;
    std::uint64_t offset;
};

/// Decides where blocks and pages of a growing store lie: space is handed out front to back, around the map
/// pages of each section. Pages given back are handed out again. Knows no file. [MS-PST] 2.2.2.7.2
/// to 2.2.2.7.6
class CAllocationPlan {
public:
    static constexpr std::uint64_t SectionStart(std::uint64_t section)
    {
        return format::kFirstAMapOffset + section * format::kAMapSectionBytes;
    }
    /// The section that a file offset of at least kFirstAMapOffset lies in.
    static constexpr std::uint64_t SectionOf(std::uint64_t offset)
    {
        return (offset - format::kFirstAMapOffset) / format::kAMapSectionBytes;
    }
    /// The map pages at the start of a section, in order; each takes 512 bytes.
    static std::vector<MapPagePlace> MapPagesOf(std::uint64_t section);

    /// File offset for a block that takes `extent` bytes with padding and trailer: a multiple of 64, above
    /// all handed out before but pages that had been given back.
    std::uint64_t TakeBlock(std::uint64_t extent);
    /// File offset for a B-tree page: a multiple of 512.
    std::uint64_t TakePage();
    /// Gives a page back. Nothing that may still be read is to stand there.
    void ReusePage(std::uint64_t offset) { m_freePages.push_back(offset); }
    /// Pages given back and not taken again.
    const std::vector<std::uint64_t>& FreePages() const { return m_freePages; }

    /// First byte never handed out.
    std::uint64_t End() const { return m_next; }
    /// Sections that the file has so far, at least 1.
    std::uint64_t SectionCount() const;
    std::uint64_t FileSize() const { return SectionStart(SectionCount()); }
    std::uint64_t LastAMapOffset() const { return SectionStart(SectionCount() - 1); }

    /// For tests of places far into a file: goes on at `offset` as if all before had been taken.
    void SkipTo(std::uint64_t offset);

private:
    std::uint64_t Take(std::uint64_t extent, std::uint64_t alignment);

    std::vector<std::uint64_t> m_freePages;
    std::uint64_t m_next = format::kFirstAMapOffset;
};

}  // namespace pastille::component::pst
