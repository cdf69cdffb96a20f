#pragma once

#include "check/Finding.h"

/// Rules of the node database: header, maps, trees, blocks. [MS-PST] 2.2
namespace pastille::check::rules {

/// A rule of what a store that is being written leaves behind: an error in a closed store, a warning while
/// fAMapValid says that the next program has to make the allocation maps anew. [MS-PST] 2.6.1.3.8
struct ClosedRule {
    Rule closed;
    Rule open;
    constexpr ClosedRule(const char* code, const char* sentence)
        : closed{code, Severity::Error, sentence}, open{code, Severity::Warning, sentence}
    {
    }
};

// Header. [MS-PST] 2.2.2.6
inline constexpr Rule kNoStore{"no-store", Severity::Error,
                               "The file does not begin with a header of a store."};
inline constexpr Rule kHeaderCrc{"header-crc", Severity::Error, "dwCRCPartial does not fit the header."};
inline constexpr Rule kHeaderFullCrc{"header-full-crc", Severity::Error,
                                     "dwCRCFull does not fit the header."};
inline constexpr Rule kHeaderClient{"header-client", Severity::Error, "wMagicClient is that of no store."};
inline constexpr Rule kHeaderSentinel{"header-sentinel", Severity::Error, "bSentinel is not 0x80."};
inline constexpr Rule kHeaderCrypt{"header-crypt", Severity::Error,
                                   "bCryptMethod is none of those that can be decoded."};
inline constexpr Rule kFileShort{"file-short", Severity::Error, "The file ends before ibFileEof."};
inline constexpr ClosedRule kFileLong{"file-long", "The file goes on behind ibFileEof."};
inline constexpr Rule kFileSections{"file-sections", Severity::Error,
                                    "ibFileEof is not the end of an allocation map's section."};
inline constexpr Rule kFileSectionsAnsi{"file-sections-ansi", Severity::Warning,
                                        "ibFileEof is not the end of an allocation map's section."};
inline constexpr ClosedRule kLastAMap{"header-last-amap", "ibAMapLast is not the last allocation map."};
inline constexpr Rule kNextBlockBid{"header-next-block", Severity::Error,
                                    "bidNextB is not above all BIDs of blocks, or no multiple of 4."};
inline constexpr Rule kNextPageBid{"header-next-page", Severity::Error,
                                   "bidNextP is not above all BIDs of tree pages."};
inline constexpr Rule kNodeIndex{"header-node-index", Severity::Error,
                                 "A counter of rgnid is below an index that is in use."};

// Allocation maps. [MS-PST] 2.2.2.7.2 to 2.2.2.7.6
inline constexpr Rule kMapsOpen{"maps-open", Severity::Warning,
                                "The allocation maps are marked as not valid: the store was not closed."};
inline constexpr Rule kMapsMark{"maps-mark", Severity::Error, "fAMapValid has no known value."};
inline constexpr ClosedRule kMapPage{"map-page", "A map page is missing at its place or not sound."};
inline constexpr ClosedRule kAMapUnmarked{"amap-unmarked",
                                          "An allocation map shows space as free that is in use."};
inline constexpr ClosedRule kAMapSurplus{"amap-surplus",
                                         "An allocation map shows space as in use that nothing uses."};
inline constexpr ClosedRule kPMapBits{"pmap-bits",
                                      "A page map shows a page as free that is in use or not reserved."};
inline constexpr ClosedRule kAMapFree{"amap-free",
                                      "cbAMapFree is not the free space of the allocation maps."};
inline constexpr ClosedRule kPMapFree{"pmap-free", "cbPMapFree is not the free space of the page maps."};
inline constexpr Rule kDensityList{"density-list", Severity::Warning, "The density list page is not sound."};
inline constexpr Rule kOverlap{"overlap", Severity::Error, "Two blocks or pages lie on the same space."};

// Tree pages. [MS-PST] 2.2.2.7.7
inline constexpr Rule kPagePlace{"page-place", Severity::Error, "A tree page lies where no page can."};
inline constexpr Rule kPageUnreadable{"page-unreadable", Severity::Error, "A page cannot be read."};
inline constexpr Rule kPageType{"page-type", Severity::Error, "A tree page is none, or of the other tree."};
inline constexpr Rule kPageBid{"page-bid", Severity::Error,
                               "A tree page has another BID than what refers to it."};
inline constexpr Rule kPageSignature{"page-signature", Severity::Error, "A tree page's wSig does not fit."};
inline constexpr Rule kPageCrc{"page-crc", Severity::Error, "A tree page's dwCRC does not fit."};
inline constexpr Rule kPageCounts{"page-counts", Severity::Error,
                                  "cEnt, cEntMax or cbEnt of a tree page does not fit its kind."};
inline constexpr Rule kPageLevel{"page-level", Severity::Error,
                                 "A tree page's cLevel is not one below that of its parent."};
inline constexpr Rule kPageOrder{"page-order", Severity::Error, "The keys of a tree do not rise."};
inline constexpr Rule kPageKey{"page-key", Severity::Error,
                               "A page's first key is not the key in its parent."};
inline constexpr Rule kNodeKey{"node-key", Severity::Error,
                               "The upper half of an NID in the node tree is not zero."};
inline constexpr Rule kPageShared{"page-shared", Severity::Error,
                                  "Two references lead to the same tree page."};

// Blocks. [MS-PST] 2.2.2.8
inline constexpr Rule kBlockBid{"block-bid", Severity::Error, "The reserved bit of a block's BID is set."};
inline constexpr Rule kBlockPlace{"block-place", Severity::Error, "A block lies where no block can."};
inline constexpr Rule kBlockSize{"block-size", Severity::Error,
                                 "A block is empty or larger than a block can be."};
inline constexpr Rule kBlockUnreadable{"block-unreadable", Severity::Error, "A block cannot be read."};
inline constexpr Rule kBlockTrailerBid{"block-trailer-bid", Severity::Error,
                                       "A block's trailer has another BID than the block's entry."};
inline constexpr Rule kBlockTrailerSize{"block-trailer-size", Severity::Error,
                                        "A block's trailer has another size than the block's entry."};
inline constexpr Rule kBlockSignature{"block-signature", Severity::Error, "A block's wSig does not fit."};
inline constexpr Rule kBlockCrc{"block-crc", Severity::Error, "A block's dwCRC does not fit."};
inline constexpr Rule kBlockInflate{"block-inflate", Severity::Error,
                                    "A compressed block does not inflate to the size that its entry gives."};
inline constexpr Rule kBlockPadding{"block-padding", Severity::Warning, "A block's padding is not zero."};
inline constexpr Rule kBlockReferences{"block-references", Severity::Error,
                                       "cRef is not the number of references to the block and one."};
inline constexpr Rule kBlockUnreferenced{"block-unreferenced", Severity::Warning,
                                         "Nothing refers to a block, and its cRef says so."};
inline constexpr Rule kReferenceMissing{"reference-missing", Severity::Error,
                                        "A reference leads to a block that has no entry."};
inline constexpr Rule kReferenceKind{"reference-kind", Severity::Error,
                                     "A reference leads to a block of another kind."};
inline constexpr Rule kInternalBlock{"internal-block", Severity::Error,
                                     "A block with an internal BID is no tree of data or subnodes."};

// Data trees and subnode trees. [MS-PST] 2.2.2.8.3
inline constexpr Rule kDataTreeCount{"data-tree-count", Severity::Error,
                                     "An XBLOCK or XXBLOCK has no entry."};
inline constexpr Rule kDataTreeFull{"data-tree-full", Severity::Error,
                                    "A block that is not the last of its data tree is not full."};
inline constexpr Rule kDataTreeTotal{"data-tree-total", Severity::Error,
                                     "lcbTotal is not the number of data bytes below."};
inline constexpr Rule kSubnodeCount{"subnode-count", Severity::Error, "An SLBLOCK or SIBLOCK has no entry."};
inline constexpr Rule kSubnodeOrder{"subnode-order", Severity::Error,
                                    "The NIDs of a subnode tree do not rise."};
inline constexpr Rule kSubnodeKey{"subnode-key", Severity::Error,
                                  "A key of an SIBLOCK is not the first NID of its SLBLOCK."};
inline constexpr Rule kSubnodeCycle{"subnode-cycle", Severity::Error, "Subnode trees contain themselves."};

}  // namespace pastille::check::rules
