#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace pastille::tests {

inline std::vector<std::byte> FromHex(std::string_view text)
{
    const auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    std::vector<std::byte> bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        bytes.push_back(static_cast<std::byte>(digit(text[i]) * 16 + digit(text[i + 1])));
    return bytes;
}

}  // namespace pastille::tests
