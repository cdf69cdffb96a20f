#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/FileSystem.h"

namespace pastille::component::pst {

/// Writes all map pages of a store, given the space that it uses: what is not named is free. Memory does not
/// grow with the store. [MS-PST] 2.2.2.7.2 to 2.2.2.7.6
class CMapPageWriter {
public:
    /// `file` must outlive this object.
    CMapPageWriter(platform::IFile& file, std::uint64_t sections) : m_file(file), m_sections(sections)
    {
        Open(0);
    }

    /// Space in use, both multiples of 64 bytes, within one section. REQUIRES: offsets rise, nothing
    /// overlaps.
    void Add(std::uint64_t offset, std::uint64_t extent);
    /// Writes what is left, and the empty density list under `densityListBid`. Returns cbAMapFree. Raises
    /// what the file raises.
    std::uint64_t Finish(std::uint64_t densityListBid);

private:
    static constexpr std::size_t kMapBytes = 496;

    void Open(std::uint64_t section);
    void Close();

    platform::IFile& m_file;
    std::uint64_t m_sections;
    std::uint64_t m_section = 0;
    std::uint64_t m_freeUnits = 0;
    std::array<std::byte, kMapBytes> m_bits{};
};

}  // namespace pastille::component::pst
