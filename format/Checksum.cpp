#include "format/Checksum.h"

#include <zlib.h>

namespace pastille::format {

std::uint32_t ComputeCrc(std::span<const std::byte> bytes)
{
    // zlib inverts before and after; starting from all ones and inverting the result takes both away.
    const auto crc =
        ::crc32_z(0xFFFFFFFFu, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    return ~static_cast<std::uint32_t>(crc);
}

}  // namespace pastille::format
