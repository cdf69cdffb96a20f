#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace pastille::platform {

/// What a text of bytes begins with.
struct Sequence {
    enum class Kind { Character, Broken, Incomplete };
    Kind kind;
    std::size_t length;  ///< bytes, at least 1
    char32_t character = 0;
};

/// The first sequence of UTF-8 bytes, of which there is at least one. Of a broken one, the bytes that could
/// still have become a character.
inline Sequence FirstOfUtf8(std::span<const std::byte> bytes)
{
    using Kind = Sequence::Kind;
    const auto at = [bytes](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
    const std::uint8_t lead = at(0);
    if (lead < 0x80)
        return {Kind::Character, 1, lead};
    if (lead < 0xC2 || lead > 0xF4)
        return {Kind::Broken, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    // No overlong forms, no surrogates, nothing behind the last plane.
    std::uint8_t smallest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    std::uint8_t largest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    char32_t character = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (i == bytes.size())
            return {Kind::Incomplete, i};
        if (at(i) < smallest || at(i) > largest)
            return {Kind::Broken, i};
        character = (character << 6) | (at(i) & 0x3Fu);
        smallest = 0x80;
        largest = 0xBF;
    }
    return {Kind::Character, length, character};
}

/// Appends a character as one or two units.
template <class Text>
void AppendUtf16(Text& to, char32_t c)
{
    if (c < 0x10000) {
        to.push_back(static_cast<char16_t>(c));
        return;
    }
    to.push_back(static_cast<char16_t>(0xD7C0 + (c >> 10)));
    to.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
}

}  // namespace pastille::platform
