#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "format/Layout.h"
#include "format/Page.h"
#include "store/WindowScan.h"
#include "store/complete/TreePages.h"

namespace pastille::store::complete {

/// A block or a page at its place.
struct FoundPlace {
    std::uint64_t start = 0;  ///< file offset
    std::uint64_t end = 0;    ///< one past the trailer
    bool isSound = false;     ///< the bytes have the CRC of the trailer
    bool isAtHome = false;    ///< the trailer's signature is right for this place
    bool isPage = false;
    std::uint32_t size = 0;  ///< of a block: bytes as stored
    std::uint64_t bid = 0;
    TreePage page{};                         ///< of a page
    std::vector<format::NodeEntry> nodes{};  ///< of an NBT leaf
};

/// Finds the blocks and pages whose trailers end in a window: every sound one at any offset, and those with
/// wrong bytes that stand where they belong. By rising end. The work for a window is bounded, whatever stands
/// in it. May be used by several threads.
std::vector<FoundPlace> FindPlaces(const format::VariantLayout& layout, const ScanWindow& window);

/// Adds a place to those before it. Of places that overlap only those stay that can be: what lies in a sound
/// block is its contents, and what sound places have been written over is gone.
/// REQUIRES: it does not end before the one added last.
void AddPlace(std::vector<FoundPlace>& places, FoundPlace place);

}  // namespace pastille::store::complete
