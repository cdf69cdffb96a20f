#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace pastille::format {

/// Reads a little-endian integer. REQUIRES: offset + sizeof(T) <= bytes.size().
template <std::unsigned_integral T>
constexpr T LoadLE(std::span<const std::byte> bytes, std::size_t offset)
{
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
        value = static_cast<T>(value | static_cast<T>(static_cast<T>(bytes[offset + i]) << (8 * i)));
    return value;
}

/// Writes a little-endian integer. REQUIRES: offset + sizeof(T) <= bytes.size().
template <std::unsigned_integral T>
constexpr void StoreLE(std::span<std::byte> bytes, std::size_t offset, T value)
{
    for (std::size_t i = 0; i < sizeof(T); ++i)
        bytes[offset + i] = static_cast<std::byte>(static_cast<std::uint64_t>(value) >> (8 * i));
}

/// Writes a BID, key or file offset, which are 4 or 8 bytes wide. REQUIRES: offset + width <= bytes.size().
constexpr void StoreKey(std::span<std::byte> bytes, std::size_t offset, std::size_t width,
                        std::uint64_t value)
{
    if (width == 8)
        StoreLE<std::uint64_t>(bytes, offset, value);
    else
        StoreLE<std::uint32_t>(bytes, offset, static_cast<std::uint32_t>(value));
}

/// A stretch of file bytes that knows its length. Every number that comes from a file is read through one:
/// what lies beyond the end is not there, whatever the offset.
class CByteView {
public:
    constexpr CByteView() = default;
    constexpr CByteView(std::span<const std::byte> bytes) : m_bytes(bytes) {}  // NOLINT: a view of anything

    constexpr std::size_t Size() const { return m_bytes.size(); }
    constexpr std::span<const std::byte> Bytes() const { return m_bytes; }

    /// True when `length` bytes at `offset` all lie inside. Cannot overflow.
    constexpr bool Holds(std::uint64_t offset, std::uint64_t length) const
    {
        return offset <= m_bytes.size() && length <= m_bytes.size() - offset;
    }

    template <std::unsigned_integral T>
    constexpr std::optional<T> Read(std::uint64_t offset) const
    {
        if (!Holds(offset, sizeof(T)))
            return std::nullopt;
        return LoadLE<T>(m_bytes, static_cast<std::size_t>(offset));
    }

    /// Reads an integer, 0 when it is not there.
    template <std::unsigned_integral T>
    constexpr T ReadOrZero(std::uint64_t offset) const
    {
        return Read<T>(offset).value_or(T{0});
    }

    /// An identifier or file offset of `width` bytes (4 or 8).
    constexpr std::optional<std::uint64_t> ReadKey(std::uint64_t offset, std::size_t width) const
    {
        if (width == 8)
            return Read<std::uint64_t>(offset);
        const auto narrow = Read<std::uint32_t>(offset);
        return narrow ? std::optional<std::uint64_t>(*narrow) : std::nullopt;
    }

    constexpr std::optional<CByteView> Sub(std::uint64_t offset, std::uint64_t length) const
    {
        if (!Holds(offset, length))
            return std::nullopt;
        return CByteView(m_bytes.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(length)));
    }

private:
    std::span<const std::byte> m_bytes;
};

}  // namespace pastille::format
