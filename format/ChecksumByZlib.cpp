#include "format/Checksum.h"

#define ZLIB_CONST  // what is only read is const
#include <zlib.h>

namespace pastille::format {

std::uint32_t ComputeCrc(std::span<const std::byte> bytes)
{
    // The library inverts before and after; starting from all ones and inverting the result takes both away.
    return ~static_cast<std::uint32_t>(
        crc32_z(0xFFFFFFFFu, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

}  // namespace pastille::format
