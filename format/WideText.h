#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "format/Bytes.h"

namespace pastille::format {

/// Bytes of a PtypString value as UTF-16 text; an odd last byte is left out. [MS-PST] 2.3.3.3
inline std::u16string WideText(std::span<const std::byte> bytes)
{
    std::u16string text(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char16_t>(LoadLE<std::uint16_t>(bytes, 2 * i));
    return text;
}

}  // namespace pastille::format
