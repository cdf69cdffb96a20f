#include "component/pst/messaging/RtfStream.h"

#include <algorithm>
#include <cstdint>

#include "format/Bytes.h"
#include "format/Checksum.h"

namespace pastille::component::pst {
namespace {

//   offset  size  field
//        0     4  COMPSIZE  length of everything after this field
//        4     4  RAWSIZE   length of the RTF
//        8     4  COMPTYPE
//       12     4  CRC       of the contents; 0 when stored
constexpr std::size_t kHeaderSize = 16;
constexpr std::size_t kSizeFieldSize = 4;
constexpr std::uint32_t kCompressed = 0x75465A4C;  ///< "LZFu"
constexpr std::uint32_t kStored = 0x414C454D;      ///< "MELA"

bool HasHeader(std::span<const std::byte> bytes, std::uint32_t type)
{
    return bytes.size() >= kHeaderSize && format::LoadLE<std::uint32_t>(bytes, 8) == type &&
           std::uint64_t{format::LoadLE<std::uint32_t>(bytes, 0)} + kSizeFieldSize == bytes.size();
}

}  // namespace

bool IsRtfStream(std::span<const std::byte> bytes)
{
    if (HasHeader(bytes, kStored))
        return format::LoadLE<std::uint32_t>(bytes, 4) == bytes.size() - kHeaderSize;
    return HasHeader(bytes, kCompressed) &&
           format::LoadLE<std::uint32_t>(bytes, 12) == format::ComputeCrc(bytes.subspan(kHeaderSize));
}

std::vector<std::byte> StoreRtf(std::span<const std::byte> rtf)
{
    std::vector<std::byte> bytes(kHeaderSize + rtf.size());
    format::StoreLE(bytes, 0, static_cast<std::uint32_t>(rtf.size() + kHeaderSize - kSizeFieldSize));
    format::StoreLE(bytes, 4, static_cast<std::uint32_t>(rtf.size()));
    format::StoreLE(bytes, 8, kStored);
    std::ranges::copy(rtf, bytes.begin() + kHeaderSize);
    return bytes;
}

std::span<const std::byte> StoredRtf(std::span<const std::byte> bytes)
{
    if (bytes.size() < kHeaderSize || format::LoadLE<std::uint32_t>(bytes, 8) != kStored)
        return bytes;
    // Some writers count the header in RAWSIZE; what is there decides.
    const std::size_t present = bytes.size() - kHeaderSize;
    return bytes.subspan(kHeaderSize,
                         std::min<std::size_t>(present, format::LoadLE<std::uint32_t>(bytes, 4)));
}

}  // namespace pastille::component::pst
