#include "platform/windows/CodePageTable.h"

#include <array>
#include <map>
#include <mutex>

#include "platform/windows/Win32.h"

namespace pastille::platform {
namespace {

constexpr std::size_t kUnits = 0x10000;

/// kNone unless the bytes stand for exactly one unit.
char16_t Decode(std::uint32_t page, std::span<const std::byte> bytes)
{
    std::array<wchar_t, 4> units{};
    const int count =
        ::MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, reinterpret_cast<const char*>(bytes.data()),
                              static_cast<int>(bytes.size()), units.data(), static_cast<int>(units.size()));
    const char16_t unit = static_cast<char16_t>(units[0]);
    return count == 1 && unit != 0xFFFD ? unit : static_cast<char16_t>(CCodePageTable::kNone);
}

/// The host's bytes for a unit; none when it would write another character.
std::vector<std::byte> Encode(std::uint32_t page, char16_t unit)
{
    const wchar_t wide = static_cast<wchar_t>(unit);
    std::array<char, 8> bytes{};
    BOOL isReplaced = FALSE;
    const int count = ::WideCharToMultiByte(page, WC_NO_BEST_FIT_CHARS, &wide, 1, bytes.data(),
                                            static_cast<int>(bytes.size()), nullptr, &isReplaced);
    if (count < 1 || count > 2 || isReplaced)
        return {};
    const auto* const first = reinterpret_cast<const std::byte*>(bytes.data());
    return {first, first + count};
}

}  // namespace

std::shared_ptr<const CCodePageTable> CCodePageTable::Of(std::uint32_t hostPage)
{
    static std::mutex mutex;
    static std::map<std::uint32_t, std::shared_ptr<const CCodePageTable>> tables;
    const std::scoped_lock lock(mutex);
    auto& table = tables[hostPage];
    if (!table)
        table = std::make_shared<const CCodePageTable>(hostPage);
    return table;
}

CCodePageTable::CCodePageTable(std::uint32_t hostPage)
    : m_hostPage(hostPage), m_single(256, kNone), m_sequences(kUnits, kNone)
{
    for (unsigned lead = 0; lead < 256; ++lead) {
        m_isLead[lead] = ::IsDBCSLeadByteEx(hostPage, static_cast<BYTE>(lead));
        const std::array sequence{static_cast<std::byte>(lead)};
        if (!m_isLead[lead])
            Add(sequence);
    }
    for (unsigned lead = 0; lead < 256; ++lead) {
        if (!m_isLead[lead])
            continue;
        m_double.resize(kUnits, kNone);
        for (unsigned trail = 0x20; trail < 256; ++trail) {
            const std::array sequence{static_cast<std::byte>(lead), static_cast<std::byte>(trail)};
            Add(sequence);
        }
    }
}

void CCodePageTable::Add(std::span<const std::byte> sequence)
{
    const char16_t unit = Decode(m_hostPage, sequence);
    if (unit == kNone)
        return;
    const auto usual = Encode(m_hostPage, unit);
    if (usual.empty() || Decode(m_hostPage, usual) != unit)
        return;
    // Of single bytes each is itself; two bytes may be another spelling of the usual two.
    const bool isItself = std::ranges::equal(usual, sequence);
    if (!isItself && sequence.size() == 1)
        return;
    std::uint32_t key = 0;
    for (const std::byte byte : usual)
        key = (key << 8) | static_cast<std::uint8_t>(byte);
    if ((key >= 0x100) != (usual.size() == 2))
        return;
    m_sequences[unit] = static_cast<std::uint16_t>(key);
    if (sequence.size() == 1)
        m_single[static_cast<std::uint8_t>(sequence[0])] = unit;
    else
        m_double[static_cast<std::size_t>(sequence[0]) << 8 | static_cast<std::size_t>(sequence[1])] = unit;
}

char32_t CCodePageTable::CharacterOf(std::uint8_t lead, std::uint8_t trail) const
{
    return m_double.empty() ? kNone : m_double[static_cast<std::size_t>(lead) << 8 | trail];
}

Sequence CCodePageTable::First(std::span<const std::byte> bytes) const
{
    using Kind = Sequence::Kind;
    const auto lead = static_cast<std::uint8_t>(bytes[0]);
    if (!m_isLead[lead])
        return m_single[lead] == kNone ? Sequence{Kind::Broken, 1}
                                       : Sequence{Kind::Character, 1, m_single[lead]};
    if (bytes.size() < 2)
        return {Kind::Incomplete, 1};
    const auto trail = static_cast<std::uint8_t>(bytes[1]);
    if (const char32_t c = CharacterOf(lead, trail); c != kNone)
        return {Kind::Character, 2, c};
    // What cannot be the second byte of anything is a character of its own.
    const bool couldBeTrail = trail >= 0x40 && trail != 0x7F && trail != 0xFF;
    return {Kind::Broken, couldBeTrail ? std::size_t{2} : std::size_t{1}};
}

}  // namespace pastille::platform
