#pragma once

#include <cstddef>
#include <cstdint>

#include "format/Layout.h"

namespace pastille::component::pst {

// What a new store is: Unicode, pages of 512 bytes.
inline constexpr const format::VariantLayout& kLayout = format::kUnicodeLayout;
inline constexpr std::size_t kPageBytes = 512;
inline constexpr std::size_t kFullBlock = kLayout.largestBlock;  ///< data bytes of the largest block
inline constexpr std::uint64_t kBidStep = 4;  ///< two bits of a BID are no part of its number

}  // namespace pastille::component::pst
