#pragma once

#include <cstdint>

#include "tests/support/StoreDamage.h"

namespace pastille::tests {

/// What befalls stores, from what costs nothing to what costs a lot.
enum class Cost {
    Nothing,  ///< everything can still be found
    Parts,    ///< what lay in the bytes lost
    Mixture,  ///< and one item may have parts of others
};

struct Damage {
    const char* name;
    Cost cost;
    void (*apply)(CStoreDamage damage, std::uint64_t size);  ///< of the part of the file that is in use
    std::uint64_t inserted = 0;                              ///< bytes that everything behind them moves by
};

/// The border of two sectors.
constexpr std::uint64_t Middle(std::uint64_t size)
{
    return size / 1024 * 512;
}

inline constexpr Damage kDamages[] = {
    {"none", Cost::Nothing, [](CStoreDamage, std::uint64_t) {}},
    {"header lost", Cost::Nothing, [](CStoreDamage damage, std::uint64_t) { damage.ZeroHeaderButMagic(); }},
    {"roots and crypt byte wrong, maps lost", Cost::Nothing,
     [](CStoreDamage damage, std::uint64_t) { damage.SwapRoots().SetCryptByte(7).Drop(PlaceKind::AMap); }},
    {"inner pages lost", Cost::Nothing,
     [](CStoreDamage damage, std::uint64_t) { damage.Drop(PlaceKind::NbtIndex).Drop(PlaceKind::BbtIndex); }},
    {"signatures and counts of node pages wrong", Cost::Nothing,
     [](CStoreDamage damage, std::uint64_t) {
         damage.BreakSignatures(PlaceKind::NbtLeaf).SetPageCount(PlaceKind::NbtLeaf, 0);
     }},
    {"signatures of block pages wrong", Cost::Nothing,
     [](CStoreDamage damage, std::uint64_t) { damage.BreakSignatures(PlaceKind::BbtLeaf); }},
    {"block tree lost", Cost::Nothing,
     [](CStoreDamage damage, std::uint64_t) { damage.Drop(PlaceKind::BbtLeaf).Drop(PlaceKind::BbtIndex); }},
    {"node pages partly lost", Cost::Parts,
     [](CStoreDamage damage, std::uint64_t) { damage.DropEveryThird(PlaceKind::NbtLeaf); }},
    {"block trailers lost", Cost::Nothing,
     [](CStoreDamage damage, std::uint64_t) { damage.DropBlockTrailers(); }},
    {"1 % of sectors", Cost::Parts, [](CStoreDamage damage, std::uint64_t) { damage.ZeroSectors(1, 11); }},
    {"5 % of sectors", Cost::Parts, [](CStoreDamage damage, std::uint64_t) { damage.ZeroSectors(5, 12); }},
    {"20 % of sectors", Cost::Parts, [](CStoreDamage damage, std::uint64_t) { damage.ZeroSectors(20, 13); }},
    {"a run of 10 %", Cost::Parts,
     [](CStoreDamage damage, std::uint64_t size) { damage.ZeroRun(size, 10, 14); }},
    {"truncated", Cost::Parts,
     [](CStoreDamage damage, std::uint64_t size) { damage.Truncate(size * 6 / 10); }},
    {"512 bytes inserted", Cost::Parts,
     [](CStoreDamage damage, std::uint64_t size) { damage.Insert(Middle(size), 512); }, 512},
    {"bits flipped", Cost::Mixture,
     [](CStoreDamage damage, std::uint64_t) { damage.FlipRandomBits(300, 15); }},
};

}  // namespace pastille::tests
