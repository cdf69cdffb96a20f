#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace pastille::store::complete {

/// Compares checksums with stretches of one window. However many are asked for, the work stays in proportion
/// to the bytes of the window and the number of questions: after a certain number of bytes summed directly,
/// the sums of all beginnings are made once, and each further answer costs one multiplication.
class CWindowSums {
public:
    /// `bytes` must outlive this object.
    explicit CWindowSums(std::span<const std::byte> bytes);

    /// True when the stretch has this CRC. REQUIRES: it lies in the window and has at most 65,536 bytes.
    bool Matches(std::size_t offset, std::size_t length, std::uint32_t crc);

private:
    void MakeSums();

    std::span<const std::byte> m_bytes;
    std::uint64_t m_directLeft;         ///< bytes that may still be summed directly
    std::vector<std::uint32_t> m_sums;  ///< CRC of the first i bytes; empty until they are made
};

}  // namespace pastille::store::complete
