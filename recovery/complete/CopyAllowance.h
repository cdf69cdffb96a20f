#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "platform/FileSystem.h"

namespace pastille::recovery::complete {

/// Bytes that a run may still copy. Any number of references in a damaged file may name the same blocks.
class CCopyAllowance {
public:
    void Allow(std::uint64_t bytes) { m_left = bytes; }
    std::uint64_t Left() const { return m_left; }
    /// False, and nothing is spent, when fewer are left.
    bool Spend(std::uint64_t bytes)
    {
        if (bytes > m_left)
            return false;
        m_left -= bytes;
        return true;
    }

private:
    std::uint64_t m_left = 0;
};

/// A stream whose bytes are spent as they are read. It ends where nothing is left.
class CAllowedStream final : public platform::IByteStream {
public:
    CAllowedStream(platform::IByteStream& below, CCopyAllowance& allowance)
        : m_below(below), m_allowance(allowance)
    {
    }
    std::size_t Read(std::span<std::byte> into) override
    {
        const std::size_t got =
            m_below.Read(into.first(std::min<std::uint64_t>(into.size(), m_allowance.Left())));
        m_allowance.Spend(got);
        m_isCut = m_isCut || (got == 0 && m_allowance.Left() == 0);
        return got;
    }
    /// Nothing was left before the stream had ended, as far as is known.
    bool IsCut() const { return m_isCut; }

private:
    platform::IByteStream& m_below;
    CCopyAllowance& m_allowance;
    bool m_isCut = false;
};

}  // namespace pastille::recovery::complete
