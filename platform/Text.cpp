#include "platform/Text.h"

#include "platform/CharacterKinds.h"

#include <algorithm>
#include <cstdint>

namespace pastille::platform {
namespace {

constexpr bool IsLead(char16_t c)
{
    return (c & 0xFC00) == 0xD800;
}

constexpr bool IsTrail(char16_t c)
{
    return (c & 0xFC00) == 0xDC00;
}

constexpr char32_t Joined(char16_t lead, char16_t trail)
{
    return 0x10000 + (static_cast<char32_t>(lead - 0xD800) << 10) + static_cast<char32_t>(trail - 0xDC00);
}

/// Code points of `text` that no text holds, counted in UTF-16 units.
std::size_t CountImplausible(std::u16string_view text)
{
    std::size_t implausible = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        std::size_t units = 1;
        if (IsLead(text[i]) && i + 1 < text.size() && IsTrail(text[i + 1])) {
            c = Joined(text[i], text[i + 1]);
            units = 2;
        }
        if (!IsTextCharacter(c))
            implausible += units;
        i += units - 1;
    }
    return implausible;
}

}  // namespace

bool LooksLikeText(std::u16string_view text)
{
    if (text.empty())
        return false;
    if (CountImplausible(text) * 3 <= text.size())
        return true;
    // In the other byte order nearly anything is some letter: only text of one alphabet is believed there.
    std::u16string swapped(text);
    for (char16_t& c : swapped)
        c = static_cast<char16_t>((c << 8) | (c >> 8));
    const bool oneAlphabet = std::all_of(swapped.begin(), swapped.end(),
                                         [&](char16_t c) { return (c >> 8) == (swapped.front() >> 8); });
    return oneAlphabet && CountImplausible(swapped) == 0;
}

std::string ToUtf8(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (IsLead(text[i]) && i + 1 < text.size() && IsTrail(text[i + 1])) {
            c = Joined(text[i], text[i + 1]);
            ++i;
        } else if (c >= 0xD800 && c <= 0xDFFF)
            c = 0xFFFD;
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

bool EqualsNoCase(std::u16string_view left, std::u16string_view right)
{
    const auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; };
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [&](char16_t a, char16_t b) { return lower(a) == lower(b); });
}

}  // namespace pastille::platform
