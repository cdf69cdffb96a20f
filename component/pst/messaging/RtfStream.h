#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace pastille::component::pst {

// Values of PidTagRtfCompressed. [MS-OXRTFCP] 2.1.3.1

/// True when the bytes are such a stream, compressed or stored: a header that fits the length, and for a
/// compressed stream the right CRC.
bool IsRtfStream(std::span<const std::byte> bytes);
/// A stream that stores the RTF as it is ("MELA").
std::vector<std::byte> StoreRtf(std::span<const std::byte> rtf);
/// The RTF inside a stored stream; any other bytes come back as they are.
std::span<const std::byte> StoredRtf(std::span<const std::byte> bytes);

}  // namespace pastille::component::pst
