#include "component/pst/ndb/AllocationPlan.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace pastille::component::pst {
namespace {

constexpr std::uint64_t kPageBytes = 512;
constexpr std::uint64_t kSectionsPerPageMap = 8;
constexpr std::uint64_t kFirstFreeMapSection = 128;
constexpr std::uint64_t kSectionsPerFreeMap = 496;
constexpr std::uint64_t kFirstFreePageMapSection = 8192;
constexpr std::uint64_t kSectionsPerFreePageMap = 31744;

constexpr bool Repeats(std::uint64_t section, std::uint64_t first, std::uint64_t interval)
{
    return section >= first && (section - first) % interval == 0;
}

bool HasPageMap(std::uint64_t section)
{
    return section % kSectionsPerPageMap == 0;
}
bool HasFreeMap(std::uint64_t section)
{
    return Repeats(section, kFirstFreeMapSection, kSectionsPerFreeMap);
}
bool HasFreePageMap(std::uint64_t section)
{
    return Repeats(section, kFirstFreePageMapSection, kSectionsPerFreePageMap);
}

std::uint64_t MapPageCount(std::uint64_t section)
{
    return 1u + HasPageMap(section) + HasFreeMap(section) + HasFreePageMap(section);
}

std::uint64_t SectionOf(std::uint64_t offset)
{
    return (offset - format::kFirstAMapOffset) / format::kAMapSectionBytes;
}

}  // namespace

std::vector<MapPagePlace> CAllocationPlan::MapPagesOf(std::uint64_t section)
{
    std::vector<MapPagePlace> pages;
    const auto add = [&](format::PageType type) {
        pages.push_back({type, SectionStart(section) + pages.size() * kPageBytes});
    };
    add(format::PageType::AllocationMap);
    if (HasPageMap(section))
        add(format::PageType::PageMap);
    if (HasFreeMap(section))
        add(format::PageType::FreeMap);
    if (HasFreePageMap(section))
        add(format::PageType::FreePageMap);
    return pages;
}

std::uint64_t CAllocationPlan::Take(std::uint64_t extent, std::uint64_t alignment)
{
    std::uint64_t place = (m_next + alignment - 1) / alignment * alignment;
    // At most twice: once behind the section's map pages, once into the next section.
    for (;;) {
        const std::uint64_t section = SectionOf(place);
        const std::uint64_t free = SectionStart(section) + MapPageCount(section) * kPageBytes;
        place = std::max(place, free);
        if (place + extent <= SectionStart(section + 1))
            break;
        place = SectionStart(section + 1);
    }
    m_next = place + extent;
    return place;
}

std::uint64_t CAllocationPlan::TakeBlock(std::uint64_t extent)
{
    return Take(extent, format::kAllocationUnit);
}

std::uint64_t CAllocationPlan::TakePage()
{
    return Take(kPageBytes, kPageBytes);
}

std::uint64_t CAllocationPlan::SectionCount() const
{
    return m_next <= format::kFirstAMapOffset ? 1 : SectionOf(m_next - 1) + 1;
}

CAllocationPlan::Section& CAllocationPlan::SectionAt(std::uint64_t section)
{
    while (m_sections.size() <= section) {
        Section fresh;
        // One bitmap byte stands for 512 bytes, which is one map page.
        std::fill_n(fresh.bits.begin(), MapPageCount(m_sections.size()), std::byte{0xFF});
        m_sections.push_back(fresh);
    }
    return m_sections[section];
}

void CAllocationPlan::SetBits(std::uint64_t offset, std::uint64_t extent, bool value)
{
    const std::uint64_t number = SectionOf(offset);
    Section& section = SectionAt(number);
    const std::uint64_t first = (offset - SectionStart(number)) / format::kAllocationUnit;
    const std::uint64_t end = first + extent / format::kAllocationUnit;
    for (std::uint64_t bit = first; bit < end; ++bit) {
        const auto mask = static_cast<std::byte>(0x80u >> (bit % 8));
        std::byte& byte = section.bits[bit / 8];
        byte = value ? byte | mask : byte & ~mask;
    }
    section.isDirty = true;
}

void CAllocationPlan::Mark(std::uint64_t offset, std::uint64_t extent)
{
    SetBits(offset, extent, true);
}
void CAllocationPlan::Clear(std::uint64_t offset, std::uint64_t extent)
{
    SetBits(offset, extent, false);
}

std::uint64_t CAllocationPlan::FreeBytes()
{
    SectionAt(SectionCount() - 1);
    std::uint64_t freeUnits = 0;
    for (const Section& section : m_sections)
        for (std::size_t at = 0; at < kMapBytes; at += 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, section.bits.data() + at, sizeof word);
            freeUnits += static_cast<std::uint64_t>(64 - std::popcount(word));
        }
    return freeUnits * format::kAllocationUnit;
}

std::span<const std::byte, CAllocationPlan::kMapBytes> CAllocationPlan::Bitmap(std::uint64_t section)
{
    return SectionAt(section).bits;
}

bool CAllocationPlan::IsDirty(std::uint64_t section)
{
    return SectionAt(section).isDirty;
}
void CAllocationPlan::SetClean(std::uint64_t section)
{
    SectionAt(section).isDirty = false;
}

void CAllocationPlan::SkipTo(std::uint64_t offset)
{
    m_next = std::max(m_next, offset);
}

}  // namespace pastille::component::pst
