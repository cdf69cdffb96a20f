#pragma once

#include <array>
#include <compare>
#include <cstdint>

namespace pastille::format {

/// A GUID in the form it is printed: Data1, Data2 and Data3 are little-endian on disk, Data4 is in order.
struct Guid {
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::array<std::uint8_t, 8> data4{};
    auto operator<=>(const Guid&) const = default;
};

/// Property sets. [MS-OXPROPS] 1.3.2
namespace propset {
inline constexpr std::array<std::uint8_t, 8> kMapiTail{0xC0, 0, 0, 0, 0, 0, 0, 0x46};
inline constexpr Guid kMapi{0x00020328, 0, 0, kMapiTail};
inline constexpr Guid kPublicStrings{0x00020329, 0, 0, kMapiTail};
inline constexpr Guid kInternetHeaders{0x00020386, 0, 0, kMapiTail};
inline constexpr Guid kAppointment{0x00062002, 0, 0, kMapiTail};
inline constexpr Guid kTask{0x00062003, 0, 0, kMapiTail};
inline constexpr Guid kAddress{0x00062004, 0, 0, kMapiTail};
inline constexpr Guid kCommon{0x00062008, 0, 0, kMapiTail};
inline constexpr Guid kLog{0x0006200A, 0, 0, kMapiTail};
inline constexpr Guid kNote{0x0006200E, 0, 0, kMapiTail};
inline constexpr Guid kMeeting{0x6ED8DA90, 0x450B, 0x101B, {0x98, 0xDA, 0x00, 0xAA, 0x00, 0x3F, 0x13, 0x05}};
}  // namespace propset

}  // namespace pastille::format
