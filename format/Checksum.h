#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace pastille::format {

/// The file format's CRC-32: polynomial 0xEDB88320 reflected, start 0, no final inversion. Used by the
/// header, pages, blocks, string names and compressed RTF. [MS-PST] 5.3
std::uint32_t ComputeCrc(std::span<const std::byte> bytes);

/// Signature of a page or block at `fileOffset` with identifier `bid`; only the low halves take part.
/// [MS-PST] 5.5
constexpr std::uint16_t ComputeSignature(std::uint64_t fileOffset, std::uint64_t bid)
{
    const auto folded = static_cast<std::uint32_t>(fileOffset) ^ static_cast<std::uint32_t>(bid);
    return static_cast<std::uint16_t>((folded >> 16) ^ (folded & 0xFFFF));
}

}  // namespace pastille::format
