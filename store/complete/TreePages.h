#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "format/Bytes.h"
#include "format/Layout.h"
#include "format/Page.h"
#include "store/SourceFile.h"

namespace pastille::store::complete {

/// BIDs above are taken for damage: no store comes near.
inline constexpr std::uint64_t kBidLimit = std::uint64_t{1} << 62;
/// Deeper trees no store has.
inline constexpr unsigned kMostLevels = 8;

/// What a page says of itself. 24 bytes: a scan keeps one for each tree page.
struct TreePage {
    std::uint64_t offset = 0;  ///< in the source file
    std::uint64_t bid = 0;
    format::PageType type = format::PageType::NodeTree;  ///< any type
    std::uint8_t level = 0;
    bool isSound = false;   ///< its CRC is right
    bool isAtHome = false;  ///< its signature is right for its place
    bool isTree = false;    ///< a page of either tree whose counters fit

    bool IsNodePage() const { return isTree && type == format::PageType::NodeTree; }
    bool IsBlockLeaf() const { return isTree && type == format::PageType::BlockTree && level == 0; }
};
static_assert(sizeof(TreePage) == 24);

/// Recognises a page by its trailer and, when it is one of a tree, by its counters. Nothing when the bytes
/// are no page, or with a wrong CRC do not look like one of a tree.
std::optional<TreePage> RecognisePage(const format::VariantLayout& layout, format::CByteView bytes,
                                      std::uint64_t fileOffset);

/// The entries of a page that can be believed. Of a page with a wrong CRC those are left out that do not fit
/// between their neighbours.
template <class Entry>
struct PageEntries {
    std::vector<Entry> entries;
    bool isComplete = true;  ///< as many as the page counts
};
PageEntries<format::NodeEntry> ReadNodeEntries(const format::VariantLayout& layout, const TreePage& page,
                                               format::CByteView bytes);
PageEntries<format::IndexEntry> ReadIndexEntries(const format::VariantLayout& layout, const TreePage& page,
                                                 format::CByteView bytes);
/// Entries that lie outside of a file of `fileSize` bytes are left out too.
PageEntries<format::BlockEntry> ReadBlockEntries(const format::VariantLayout& layout, const TreePage& page,
                                                 format::CByteView bytes, std::uint64_t fileSize);

}  // namespace pastille::store::complete
