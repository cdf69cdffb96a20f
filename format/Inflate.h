#pragma once

#include <cstddef>
#include <span>

namespace pastille::format {

/// How far a stream could be inflated.
struct Inflated {
    std::size_t produced = 0;  ///< bytes placed at the start of the output
    bool isWhole = false;      ///< the stream ended, and its checksum is right
};

/// Inflates a zlib stream [RFC 1950] into the output as far as the bytes and the output reach. A damaged
/// stream gives what came before the damage; bytes that are no stream give nothing.
Inflated Inflate(std::span<const std::byte> packed, std::span<std::byte> output);

}  // namespace pastille::format
