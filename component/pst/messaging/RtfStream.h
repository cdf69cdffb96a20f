#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace pastille::component::pst {

// Values of PidTagRtfCompressed. [MS-OXRTFCP] 2.1.3.1

/// True when the bytes call themselves such a stream, sound or not.
bool LooksLikeRtfStream(std::span<const std::byte> bytes);
/// True when the bytes are such a stream, compressed or stored: a header that fits the length, and for a
/// compressed stream the right CRC.
bool IsRtfStream(std::span<const std::byte> bytes);
/// The RTF as a compressed stream ("LZFu"). Takes time in proportion to its length.
/// REQUIRES: fewer than 2^31 bytes.
std::vector<std::byte> CompressRtf(std::span<const std::byte> rtf);
/// The RTF inside a stream; of a damaged one, as much as its contents give: at most 9 bytes for each of
/// theirs, whatever the header says. Bytes that are no stream come back as they are.
std::vector<std::byte> DecompressRtf(std::span<const std::byte> bytes);

}  // namespace pastille::component::pst
