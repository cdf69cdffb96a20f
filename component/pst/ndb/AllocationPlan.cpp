#include "component/pst/ndb/AllocationPlan.h"

#include "component/pst/ndb/NewStoreLayout.h"

#include <algorithm>

namespace pastille::component::pst {
namespace {

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
    if (m_freePages.empty())
        return Take(kPageBytes, kPageBytes);
    const std::uint64_t place = m_freePages.back();
    m_freePages.pop_back();
    return place;
}

std::uint64_t CAllocationPlan::SectionCount() const
{
    return m_next <= format::kFirstAMapOffset ? 1 : SectionOf(m_next - 1) + 1;
}

void CAllocationPlan::SkipTo(std::uint64_t offset)
{
    m_next = std::max(m_next, offset);
}

}  // namespace pastille::component::pst
