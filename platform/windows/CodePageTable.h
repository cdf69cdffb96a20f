#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/windows/Utf8.h"

namespace pastille::platform {

/// A code page of sequences of one and two bytes, as tables made from the host's. Only sequences that come
/// back from their character are in them: the others would be lost when a text is written.
class CCodePageTable {
public:
    /// `hostPage`: one that HostPage has given. The tables are made once for each page.
    static std::shared_ptr<const CCodePageTable> Of(std::uint32_t hostPage);
    explicit CCodePageTable(std::uint32_t hostPage);

    /// Of `bytes`, of which there is at least one.
    Sequence First(std::span<const std::byte> bytes) const;
    /// kNone when there is none.
    char32_t CharacterOf(std::uint8_t lead, std::uint8_t trail) const;
    /// The sequence of a character: one byte below 0x100, else lead and trail; kNone when there is none.
    std::uint32_t SequenceOf(char32_t c) const { return c < m_sequences.size() ? m_sequences[c] : kNone; }

    static constexpr std::uint32_t kNone = 0xFFFF;

private:
    void Add(std::span<const std::byte> sequence);

    std::uint32_t m_hostPage;
    std::vector<bool> m_isLead = std::vector<bool>(256);
    std::vector<char16_t> m_single;
    std::vector<char16_t> m_double;  ///< by lead and trail; empty when there are no leads
    std::vector<std::uint16_t> m_sequences;
};

}  // namespace pastille::platform
