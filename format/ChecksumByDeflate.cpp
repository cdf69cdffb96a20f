#include "format/Checksum.h"

#include <libdeflate.h>

namespace pastille::format {

std::uint32_t ComputeCrc(std::span<const std::byte> bytes)
{
    // The library inverts before and after; starting from all ones and inverting the result takes both away.
    return ~libdeflate_crc32(0xFFFFFFFFu, bytes.data(), bytes.size());
}

}  // namespace pastille::format
