#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>

#include "format/Bytes.h"
#include "format/Layout.h"

namespace pastille::fuzz {

/// The bytes of one input, taken front to back. What is not there counts as zero.
class CInput {
public:
    /// The bytes must outlive this object.
    CInput(const std::uint8_t* data, std::size_t size) : m_left(std::as_bytes(std::span(data, size))) {}

    bool IsEmpty() const { return m_left.empty(); }

    template <std::unsigned_integral T>
    T Take()
    {
        return format::CByteView(TakeBytes(sizeof(T))).ReadOrZero<T>(0);
    }
    /// At most so many bytes.
    std::span<const std::byte> TakeBytes(std::size_t most)
    {
        const auto taken = m_left.first(std::min(most, m_left.size()));
        m_left = m_left.subspan(taken.size());
        return taken;
    }
    const format::VariantLayout& TakeLayout()
    {
        constexpr unsigned kVariants = 3;
        return format::LayoutOf(static_cast<format::Variant>(1 + Take<std::uint8_t>() % kVariants));
    }

private:
    std::span<const std::byte> m_left;
};

}  // namespace pastille::fuzz
