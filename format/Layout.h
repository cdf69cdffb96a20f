#pragma once

#include <cstddef>
#include <cstdint>

namespace pastille::format {

/// The three on-disk variants.
enum class Variant : std::uint32_t {
    Ansi = 1,       ///< 512-byte pages, 4-byte BIDs and file offsets
    Unicode = 2,    ///< 512-byte pages, 8-byte BIDs and file offsets
    Unicode4k = 3,  ///< 4096-byte pages, 8-byte BIDs and file offsets
};

/// ptype and ptypeRepeat of a page as one little-endian word. [MS-PST] 2.2.2.7.1
namespace pageword {
inline constexpr std::uint16_t kBbt = 0x8080;
inline constexpr std::uint16_t kNbt = 0x8181;
}  // namespace pageword

/// Where things lie in the pages and blocks of a variant; all sizes and offsets in bytes. Readers and writers
/// take one of these instead of branching on the variant. [MS-PST] 2.2.2.7, 2.2.2.8
struct VariantLayout {
    Variant variant;
    bool wide;             ///< BIDs, NIDs in entries and file offsets take 8 bytes
    std::size_t keyWidth;  ///< of a BID or file offset
    std::size_t pageSize;
    std::size_t countOffset;         ///< of cEnt in a B-tree page
    std::size_t entryAreaEnd;        ///< end of the entries that a scan of NBT pages looks at
    std::size_t maximumCountOffset;  ///< of cEntMax
    std::size_t countWidth;          ///< of cEnt and cEntMax
    std::size_t entrySizeOffset;     ///< of cbEnt; cLevel follows it
    std::size_t typeOffset;          ///< of the word of ptype and ptypeRepeat: start of the page trailer
    std::size_t signatureOffset;     ///< of wSig in a page
    std::size_t pageCrcOffset;       ///< of dwCRC in a page; it covers everything before the trailer
    std::size_t pageBidOffset;       ///< of the page's own BID
    std::size_t blockEntrySize;      ///< of a BBTENTRY and of an intermediate BTENTRY
    std::size_t nodeEntrySize;       ///< of an NBTENTRY
    std::size_t blockAlignment;      ///< blocks with their trailer take a multiple of this
    std::size_t blockTrailerSize;
    std::size_t blockBidOffset;     ///< of the BID in a block trailer; cb is at 0, wSig at 2
    std::size_t blockCrcOffset;     ///< of dwCRC in a block trailer
    std::size_t largestBlock;       ///< most data bytes of one block
    std::size_t headerBytes;        ///< of the header at offset 0
    std::size_t cryptMethodOffset;  ///< of bCryptMethod in the header
};

inline constexpr VariantLayout kAnsiLayout{.variant = Variant::Ansi,
                                           .wide = false,
                                           .keyWidth = 4,
                                           .pageSize = 512,
                                           .countOffset = 496,
                                           .entryAreaEnd = 496,
                                           .maximumCountOffset = 497,
                                           .countWidth = 1,
                                           .entrySizeOffset = 498,
                                           .typeOffset = 500,
                                           .signatureOffset = 502,
                                           .pageCrcOffset = 508,
                                           .pageBidOffset = 504,
                                           .blockEntrySize = 12,
                                           .nodeEntrySize = 16,
                                           .blockAlignment = 64,
                                           .blockTrailerSize = 12,
                                           .blockBidOffset = 4,
                                           .blockCrcOffset = 8,
                                           .largestBlock = 8180,
                                           .headerBytes = 512,
                                           .cryptMethodOffset = 0x1CD};

inline constexpr VariantLayout kUnicodeLayout{.variant = Variant::Unicode,
                                              .wide = true,
                                              .keyWidth = 8,
                                              .pageSize = 512,
                                              .countOffset = 488,
                                              .entryAreaEnd = 480,
                                              .maximumCountOffset = 489,
                                              .countWidth = 1,
                                              .entrySizeOffset = 490,
                                              .typeOffset = 496,
                                              .signatureOffset = 498,
                                              .pageCrcOffset = 500,
                                              .pageBidOffset = 504,
                                              .blockEntrySize = 24,
                                              .nodeEntrySize = 32,
                                              .blockAlignment = 64,
                                              .blockTrailerSize = 16,
                                              .blockBidOffset = 8,
                                              .blockCrcOffset = 4,
                                              .largestBlock = 8176,
                                              .headerBytes = 564,
                                              .cryptMethodOffset = 0x201};

inline constexpr VariantLayout kUnicode4kLayout{.variant = Variant::Unicode4k,
                                                .wide = true,
                                                .keyWidth = 8,
                                                .pageSize = 4096,
                                                .countOffset = 4056,
                                                .entryAreaEnd = 4072,
                                                .maximumCountOffset = 4058,
                                                .countWidth = 2,
                                                .entrySizeOffset = 4060,
                                                .typeOffset = 4072,
                                                .signatureOffset = 4074,
                                                .pageCrcOffset = 4076,
                                                .pageBidOffset = 4080,
                                                .blockEntrySize = 24,
                                                .nodeEntrySize = 32,
                                                .blockAlignment = 512,
                                                .blockTrailerSize = 24,
                                                .blockBidOffset = 8,
                                                .blockCrcOffset = 4,
                                                .largestBlock = 65512,
                                                .headerBytes = 564,
                                                .cryptMethodOffset = 0x201};

/// Of that variant; lives as long as the program.
constexpr const VariantLayout& LayoutOf(Variant variant)
{
    switch (variant) {
        case Variant::Unicode:
            return kUnicodeLayout;
        case Variant::Unicode4k:
            return kUnicode4kLayout;
        case Variant::Ansi:
            break;
    }
    return kAnsiLayout;
}

/// Bytes that a block of `dataBytes` takes in the file, padding and trailer included.
constexpr std::uint64_t BlockExtent(const VariantLayout& layout, std::uint64_t dataBytes)
{
    const std::uint64_t whole = dataBytes + layout.blockTrailerSize;
    return (whole + layout.blockAlignment - 1) / layout.blockAlignment * layout.blockAlignment;
}

// The allocation maps of the 512-byte variants. [MS-PST] 2.2.2.7.2
inline constexpr std::uint64_t kDensityListOffset = 0x4200;
inline constexpr std::uint64_t kFirstAMapOffset = 0x4400;
inline constexpr std::uint64_t kAMapSectionBytes = 253952;  ///< that one AMap page covers, itself included
inline constexpr std::size_t kAllocationUnit = 64;          ///< bytes that one AMap bit stands for

}  // namespace pastille::format
