#include "component/pst/ndb/MapPages.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "component/pst/ndb/AllocationPlan.h"
#include "component/pst/ndb/NewStoreLayout.h"
#include "format/Page.h"

namespace pastille::component::pst {
namespace {

/// Sets `count` bits from bit `first` on, the most significant bit of each byte first.
void SetBits(std::span<std::byte> bits, std::uint64_t first, std::uint64_t count)
{
    for (std::uint64_t bit = first; bit < first + count; ++bit)
        bits[static_cast<std::size_t>(bit / 8)] |= static_cast<std::byte>(0x80u >> (bit % 8));
}

}  // namespace

void CMapPageWriter::Open(std::uint64_t section)
{
    m_section = section;
    m_bits.fill(std::byte{0});
    // One byte of the bitmap stands for 512 bytes, which is one map page.
    std::fill_n(m_bits.begin(), CAllocationPlan::MapPagesOf(section).size(), std::byte{0xFF});
}

void CMapPageWriter::Close()
{
    for (std::size_t at = 0; at < kMapBytes; at += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, m_bits.data() + at, sizeof word);
        m_freeUnits += static_cast<std::uint64_t>(64 - std::popcount(word));
    }
    const std::vector<MapPagePlace> places = CAllocationPlan::MapPagesOf(m_section);
    std::vector<std::byte> pages(places.size() * kPageBytes, std::byte{0xFF});
    for (std::size_t i = 0; i < places.size(); ++i) {
        const auto page = std::span(pages).subspan(i * kPageBytes, kPageBytes);
        if (places[i].type == format::PageType::AllocationMap)
            std::ranges::copy(m_bits, page.begin());
        format::EncodePageTrailer(kLayout, page, places[i].type, places[i].offset, places[i].offset);
    }
    m_file.WriteAt(places.front().offset, pages);
}

void CMapPageWriter::Add(std::uint64_t offset, std::uint64_t extent)
{
    const std::uint64_t section = CAllocationPlan::SectionOf(offset);
    if (section < m_section || section >= m_sections)
        throw std::logic_error("space in use comes by rising offset and lies in the file");
    while (m_section < section) {
        Close();
        Open(m_section + 1);
    }
    SetBits(m_bits, (offset - CAllocationPlan::SectionStart(section)) / format::kAllocationUnit,
            extent / format::kAllocationUnit);
}

std::uint64_t CMapPageWriter::Finish(std::uint64_t densityListBid)
{
    for (;;) {
        Close();
        if (m_section + 1 == m_sections)
            break;
        Open(m_section + 1);
    }
    std::array<std::byte, kPageBytes> page{};
    format::EncodePageTrailer(kLayout, page, format::PageType::DensityList, format::kDensityListOffset,
                              densityListBid);
    m_file.WriteAt(format::kDensityListOffset, page);
    return m_freeUnits * format::kAllocationUnit;
}

}  // namespace pastille::component::pst
