#pragma once

#include <compare>
#include <cstdint>

namespace pastille::format {

/// Type of a property. [MS-OXCDATA] 2.11.1
enum class PropertyType : std::uint16_t {
    Integer16 = 0x0002,
    Integer32 = 0x0003,
    Floating32 = 0x0004,
    Floating64 = 0x0005,
    Currency = 0x0006,
    FloatingTime = 0x0007,
    ErrorCode = 0x000A,
    Boolean = 0x000B,
    Object = 0x000D,
    Integer64 = 0x0014,
    String8 = 0x001E,
    String = 0x001F,
    Time = 0x0040,
    Guid = 0x0048,
    ServerId = 0x00FB,
    Restriction = 0x00FD,
    RuleAction = 0x00FE,
    Binary = 0x0102,
    MultipleInteger16 = 0x1002,
    MultipleInteger32 = 0x1003,
    MultipleFloating32 = 0x1004,
    MultipleFloating64 = 0x1005,
    MultipleCurrency = 0x1006,
    MultipleFloatingTime = 0x1007,
    MultipleInteger64 = 0x1014,
    MultipleString8 = 0x101E,
    MultipleString = 0x101F,
    MultipleTime = 0x1040,
    MultipleGuid = 0x1048,
    MultipleBinary = 0x1102,
};

/// Identifier and type of a property, as one 32-bit number with the identifier in the upper half.
struct PropertyTag {
    std::uint16_t id = 0;
    PropertyType type = PropertyType::Integer32;

    constexpr std::uint32_t Value() const
    {
        return (static_cast<std::uint32_t>(id) << 16) | static_cast<std::uint32_t>(type);
    }
    static constexpr PropertyTag FromValue(std::uint32_t value)
    {
        return {static_cast<std::uint16_t>(value >> 16), static_cast<PropertyType>(value & 0xFFFF)};
    }
    friend constexpr bool operator==(PropertyTag, PropertyTag) = default;
    friend constexpr auto operator<=>(PropertyTag left, PropertyTag right)
    {
        return left.Value() <=> right.Value();
    }
};

}  // namespace pastille::format
