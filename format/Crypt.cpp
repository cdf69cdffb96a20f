#include "format/Crypt.h"

#include "format/CryptTables.h"

namespace pastille::format {
namespace {

constexpr std::uint8_t TableR(std::uint8_t b)
{
    return kCryptTables[b];
}
constexpr std::uint8_t TableS(std::uint8_t b)
{
    return kCryptTables[256u + b];
}
constexpr std::uint8_t TableI(std::uint8_t b)
{
    return kCryptTables[512u + b];
}

/// The cyclic method is its own inverse.
void ApplyCyclic(std::uint32_t key, std::span<std::byte> bytes)
{
    auto w = static_cast<std::uint16_t>(key ^ (key >> 16));
    for (std::byte& byte : bytes) {
        const auto low = static_cast<std::uint8_t>(w);
        const auto high = static_cast<std::uint8_t>(w >> 8);
        auto b = static_cast<std::uint8_t>(byte);
        b = TableR(static_cast<std::uint8_t>(b + low));
        b = TableS(static_cast<std::uint8_t>(b + high));
        b = TableI(static_cast<std::uint8_t>(b - high));
        byte = static_cast<std::byte>(static_cast<std::uint8_t>(b - low));
        w = static_cast<std::uint16_t>(w + 1);
    }
}

template <std::uint8_t (*Table)(std::uint8_t)>
void Substitute(std::span<std::byte> bytes)
{
    for (std::byte& byte : bytes)
        byte = static_cast<std::byte>(Table(static_cast<std::uint8_t>(byte)));
}

}  // namespace

void DecodeBlock(CryptMethod method, std::uint64_t bid, std::span<std::byte> bytes)
{
    if (method == CryptMethod::Permute)
        Substitute<TableI>(bytes);
    else if (method == CryptMethod::Cyclic)
        ApplyCyclic(static_cast<std::uint32_t>(bid), bytes);
}

void EncodeBlock(CryptMethod method, std::uint64_t bid, std::span<std::byte> bytes)
{
    if (method == CryptMethod::Permute)
        Substitute<TableR>(bytes);
    else if (method == CryptMethod::Cyclic)
        ApplyCyclic(static_cast<std::uint32_t>(bid), bytes);
}

}  // namespace pastille::format
