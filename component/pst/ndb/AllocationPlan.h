#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "format/Layout.h"
#include "format/Page.h"

namespace pastille::component::pst {

/// A map page and where it stands.
struct MapPagePlace {
    format::PageType type;
    std::uint64_t offset;
};

/// Decides where blocks and pages of a growing store lie and keeps the bits of its allocation maps. Space is
/// handed out once, front to back, around the map pages of each section; what is cleared again stays unused.
/// Knows no file. Takes 496 bytes per section of 253,952. [MS-PST] 2.2.2.7.2 to 2.2.2.7.6
class CAllocationPlan {
public:
    static constexpr std::size_t kMapBytes = 496;  ///< bitmap of one AMap page

    static constexpr std::uint64_t SectionStart(std::uint64_t section)
    {
        return format::kFirstAMapOffset + section * format::kAMapSectionBytes;
    }
    /// The map pages at the start of a section, in order; each takes 512 bytes.
    static std::vector<MapPagePlace> MapPagesOf(std::uint64_t section);

    /// File offset for a block that takes `extent` bytes with padding and trailer: a multiple of 64.
    std::uint64_t TakeBlock(std::uint64_t extent);
    /// File offset for a B-tree page: a multiple of 512.
    std::uint64_t TakePage();

    // Bits of space taken before; `extent` in bytes, a multiple of 64. Only what is marked is in use.
    void Mark(std::uint64_t offset, std::uint64_t extent);
    void Clear(std::uint64_t offset, std::uint64_t extent);

    /// First byte never handed out.
    std::uint64_t End() const { return m_next; }
    /// Sections that the file has so far, at least 1.
    std::uint64_t SectionCount() const;
    std::uint64_t FileSize() const { return SectionStart(SectionCount()); }
    std::uint64_t LastAMapOffset() const { return SectionStart(SectionCount() - 1); }
    /// 64 x the zero bits of all sections, counted anew.
    std::uint64_t FreeBytes();
    /// The bitmap of a section. REQUIRES: section < SectionCount().
    std::span<const std::byte, kMapBytes> Bitmap(std::uint64_t section);

    /// True when the section's bits have changed since the last SetClean.
    bool IsDirty(std::uint64_t section);
    void SetClean(std::uint64_t section);

    /// For tests of places far into a file: goes on at `offset` as if all before had been taken.
    void SkipTo(std::uint64_t offset);

private:
    struct Section {
        std::array<std::byte, kMapBytes> bits{};
        bool isDirty = true;
    };
    Section& SectionAt(std::uint64_t section);
    std::uint64_t Take(std::uint64_t extent, std::uint64_t alignment);
    void SetBits(std::uint64_t offset, std::uint64_t extent, bool value);

    std::vector<Section> m_sections;
    std::uint64_t m_next = format::kFirstAMapOffset;
};

}  // namespace pastille::component::pst
