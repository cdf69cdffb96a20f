#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "format/Bytes.h"
#include "format/Layout.h"

namespace pastille::format {

/// BREF: an identifier and the file offset of what carries it. [MS-PST] 2.2.2.4
struct BlockReference {
    std::uint64_t bid = 0;
    std::uint64_t offset = 0;
    friend bool operator==(const BlockReference&, const BlockReference&) = default;
};

/// fAMapValid. [MS-PST] 2.2.2.5
namespace amapvalid {
inline constexpr std::uint8_t kInvalid = 0;
inline constexpr std::uint8_t kValidOld = 1;
inline constexpr std::uint8_t kValid = 2;
}  // namespace amapvalid

inline constexpr std::uint32_t kHeaderMagic = 0x4E444221;  ///< dwMagic "!BDN"
inline constexpr std::uint16_t kClientMagicPst = 0x4D53;   ///< wMagicClient "SM"
inline constexpr std::uint16_t kClientMagicOst = 0x4F53;   ///< wMagicClient "SO"
inline constexpr std::uint16_t kVersionAnsi = 14;          ///< wVer; 15 is ANSI too
inline constexpr std::uint16_t kVersionUnicode = 23;       ///< wVer
inline constexpr std::uint16_t kVersionUnicode4k = 36;     ///< wVer; not in the public document
inline constexpr std::uint8_t kHeaderSentinel = 0x80;      ///< bSentinel

/// The fields of HEADER and its ROOT that carry something; the others are written with fixed values.
/// [MS-PST] 2.2.2.5, 2.2.2.6
struct FileHeader {
    std::uint16_t clientMagic = kClientMagicPst;
    std::uint16_t version = kVersionUnicode;
    std::uint16_t clientVersion = 19;
    std::uint64_t nextPageBid = 0;                  ///< bidNextP
    std::uint64_t nextBlockBid = 0;                 ///< bidNextB
    std::uint32_t unique = 0;                       ///< dwUnique
    std::array<std::uint32_t, 32> lastNodeIndex{};  ///< rgnid: per nidType the last index handed out
    std::uint64_t fileSize = 0;                     ///< ibFileEof
    std::uint64_t lastAMapOffset = 0;               ///< ibAMapLast
    std::uint64_t freeBytes = 0;                    ///< cbAMapFree
    std::uint64_t freePageBytes = 0;                ///< cbPMapFree
    BlockReference nodeTree;                        ///< BREFNBT
    BlockReference blockTree;                       ///< BREFBBT
    std::uint8_t amapValid = amapvalid::kInvalid;
    std::uint8_t sentinel = kHeaderSentinel;
    std::uint8_t cryptMethod = 0;
};

/// rgnid of a new file: 0x400 each, but 0x4000 for search folders, 0x10000 for messages and 0x8000 for
/// associated messages.
std::array<std::uint32_t, 32> InitialNodeIndexes();

/// Writes the whole header with its CRCs. REQUIRES: into.size() == layout.headerBytes.
void EncodeHeader(const VariantLayout& layout, const FileHeader& header, std::span<std::byte> into);

/// What contradicts itself in a header that could still be read. Bits combine.
enum HeaderFault : std::uint8_t {
    kHeaderSound = 0,
    kHeaderBadMagic = 1,       ///< dwMagic or wMagicClient
    kHeaderBadPartialCrc = 2,  ///< dwCRCPartial
    kHeaderBadFullCrc = 4,     ///< dwCRCFull; ANSI headers have none
    kHeaderBadSentinel = 8,
};

/// A header as it was found, and what is wrong with it.
struct CheckedHeader {
    FileHeader header;
    std::uint8_t faults = kHeaderSound;  ///< HeaderFault bits
};

/// Reads a header laid out as in `layout`, whatever its wVer says. Nothing when the bytes are fewer than a
/// header has.
std::optional<CheckedHeader> DecodeHeader(const VariantLayout& layout, CByteView bytes);

/// The variant that wVer announces: 14 and 15 ANSI, 36 and above 4 KB pages, else Unicode from 23 on.
std::optional<Variant> VariantOfVersion(std::uint16_t version);

}  // namespace pastille::format
