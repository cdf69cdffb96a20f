#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pastille::component::pst {

constexpr bool IsHighSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsLowSurrogate(char16_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// A text as a string value can hold it: without NULs, lone surrogates replaced by U+FFFD.
std::u16string StorableText(std::u16string_view text);

/// A string value as the file keeps it: UTF-16, little-endian, no terminator. NULs are left out, because
/// readers take them for the end; lone surrogates, which no reader can show, are replaced. [MS-PST] 2.3.3.3
std::vector<std::byte> EncodeString(std::u16string_view text);

}  // namespace pastille::component::pst
