#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace pastille::format {

/// How a file encodes its data blocks, as the header's bCryptMethod numbers it. [MS-PST] 2.2.2.6
enum class CryptMethod : std::uint8_t { None = 0, Permute = 1, Cyclic = 2 };
inline constexpr std::array kCryptMethods = {CryptMethod::None, CryptMethod::Permute, CryptMethod::Cyclic};

/// Decodes a data block in place. `bid` is the block's id, of which the low 32 bits are the key of the cyclic
/// method. Never fails. [MS-PST] 5.1, 5.2
void DecodeBlock(CryptMethod method, std::uint64_t bid, std::span<std::byte> bytes);

/// Encodes a data block in place, the inverse of DecodeBlock.
void EncodeBlock(CryptMethod method, std::uint64_t bid, std::span<std::byte> bytes);

}  // namespace pastille::format
