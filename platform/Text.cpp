#include "platform/Text.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cstdint>

namespace pastille::platform {
namespace {

/// Code points of `text` that no text holds, counted in UTF-16 units.
std::size_t CountImplausible(std::u16string_view text)
{
    std::size_t implausible = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        UChar32 c = text[i];
        std::size_t units = 1;
        if (U16_IS_LEAD(c) && i + 1 < text.size() && U16_IS_TRAIL(text[i + 1])) {
            c = U16_GET_SUPPLEMENTARY(c, text[i + 1]);
            units = 2;
        }
        const auto type = u_charType(c);
        if (type == U_UNASSIGNED || type == U_CONTROL_CHAR || type == U_SURROGATE)
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
        std::uint32_t c = text[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00u);
        else if (c >= 0xD800 && c <= 0xDFFF)
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

std::u16string FromUtf8(std::string_view text)
{
    std::u16string out(text.size(), u'\0');  // UTF-16 never has more units than UTF-8 has bytes
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length, text.data(),
                         static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &error);
    out.resize(U_SUCCESS(error) ? static_cast<std::size_t>(length) : 0);
    return out;
}

std::u16string PathText(const std::filesystem::path& path)
{
    return FromUtf8(path.string());
}

bool EqualsNoCase(std::u16string_view left, std::u16string_view right)
{
    const auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; };
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [&](char16_t a, char16_t b) { return lower(a) == lower(b); });
}

}  // namespace pastille::platform
