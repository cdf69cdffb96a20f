#include "format/Header.h"

#include <algorithm>

#include "format/Checksum.h"

namespace pastille::format {
namespace {

constexpr std::size_t kCrcStart = 8;
constexpr std::size_t kPartialCrcBytes = 471;
constexpr std::size_t kFullCrcBytes = 516;
constexpr std::size_t kFullCrcOffset = 0x20C;
constexpr std::uint64_t kUnusedBid = 0x0000000100000004;
constexpr std::size_t kMapBytes = 128;  ///< of rgbFM and of rgbFP

/// Where the fields of a header lie that differ between narrow and wide files.
struct Places {
    std::size_t nextBlockBid, nextPageBid, unique, nodeIndexes, root, freeMap, sentinel;
};
constexpr Places kNarrow{0x18, 0x1C, 0x20, 0x24, 0xA4, 0xCC, 0x1CC};
constexpr Places kWide{0x204, 0x20, 0x28, 0x2C, 0xB4, 0x100, 0x200};

const Places& PlacesOf(const VariantLayout& layout)
{
    return layout.wide ? kWide : kNarrow;
}

void EncodeRoot(const VariantLayout& layout, const FileHeader& header, std::span<std::byte> root)
{
    const std::size_t width = layout.keyWidth;
    const std::uint64_t fields[] = {header.fileSize,      header.lastAMapOffset,  header.freeBytes,
                                    header.freePageBytes, header.nodeTree.bid,    header.nodeTree.offset,
                                    header.blockTree.bid, header.blockTree.offset};
    std::size_t offset = 4;
    for (const std::uint64_t field : fields) {
        StoreKey(root, offset, width, field);
        offset += width;
    }
    StoreLE<std::uint8_t>(root, offset, header.amapValid);
}

void DecodeRoot(const VariantLayout& layout, CByteView bytes, std::size_t root, FileHeader& header)
{
    const std::size_t width = layout.keyWidth;
    std::uint64_t* const fields[] = {&header.fileSize,      &header.lastAMapOffset,  &header.freeBytes,
                                     &header.freePageBytes, &header.nodeTree.bid,    &header.nodeTree.offset,
                                     &header.blockTree.bid, &header.blockTree.offset};
    std::size_t offset = root + 4;
    for (std::uint64_t* field : fields) {
        *field = bytes.ReadKey(offset, width).value_or(0);
        offset += width;
    }
    header.amapValid = bytes.ReadOrZero<std::uint8_t>(offset);
}

std::uint8_t FaultsOf(const VariantLayout& layout, CByteView bytes, const FileHeader& header)
{
    std::uint8_t faults = kHeaderSound;
    if (bytes.ReadOrZero<std::uint32_t>(0) != kHeaderMagic ||
        (header.clientMagic != kClientMagicPst && header.clientMagic != kClientMagicOst))
        faults |= kHeaderBadMagic;
    if (bytes.ReadOrZero<std::uint32_t>(4) != ComputeCrc(bytes.Bytes().subspan(kCrcStart, kPartialCrcBytes)))
        faults |= kHeaderBadPartialCrc;
    if (layout.wide && bytes.ReadOrZero<std::uint32_t>(kFullCrcOffset) !=
                           ComputeCrc(bytes.Bytes().subspan(kCrcStart, kFullCrcBytes)))
        faults |= kHeaderBadFullCrc;
    if (header.sentinel != kHeaderSentinel)
        faults |= kHeaderBadSentinel;
    return faults;
}

}  // namespace

std::array<std::uint32_t, 32> InitialNodeIndexes()
{
    std::array<std::uint32_t, 32> indexes;
    indexes.fill(0x400);
    indexes[3] = 0x4000;
    indexes[4] = 0x10000;
    indexes[8] = 0x8000;
    return indexes;
}

void EncodeHeader(const VariantLayout& layout, const FileHeader& header, std::span<std::byte> into)
{
    const Places& places = PlacesOf(layout);
    std::ranges::fill(into, std::byte{0});
    StoreLE<std::uint32_t>(into, 0, kHeaderMagic);
    StoreLE<std::uint16_t>(into, 0x08, header.clientMagic);
    StoreLE<std::uint16_t>(into, 0x0A, header.version);
    StoreLE<std::uint16_t>(into, 0x0C, header.clientVersion);
    StoreLE<std::uint8_t>(into, 0x0E, 1);
    StoreLE<std::uint8_t>(into, 0x0F, 1);
    if (layout.wide)
        StoreLE<std::uint64_t>(into, 0x18, kUnusedBid);
    StoreKey(into, places.nextBlockBid, layout.keyWidth, header.nextBlockBid);
    StoreKey(into, places.nextPageBid, layout.keyWidth, header.nextPageBid);
    StoreLE<std::uint32_t>(into, places.unique, header.unique);
    for (std::size_t i = 0; i < header.lastNodeIndex.size(); ++i)
        StoreLE<std::uint32_t>(into, places.nodeIndexes + 4 * i, header.lastNodeIndex[i]);
    EncodeRoot(layout, header, into.subspan(places.root));
    std::ranges::fill(into.subspan(places.freeMap, 2 * kMapBytes), std::byte{0xFF});
    StoreLE<std::uint8_t>(into, places.sentinel, header.sentinel);
    StoreLE<std::uint8_t>(into, places.sentinel + 1, header.cryptMethod);
    StoreLE<std::uint32_t>(into, 4, ComputeCrc(into.subspan(kCrcStart, kPartialCrcBytes)));
    if (layout.wide)
        StoreLE<std::uint32_t>(into, kFullCrcOffset, ComputeCrc(into.subspan(kCrcStart, kFullCrcBytes)));
}

std::optional<CheckedHeader> DecodeHeader(const VariantLayout& layout, CByteView bytes)
{
    if (bytes.Size() < layout.headerBytes)
        return std::nullopt;
    const Places& places = PlacesOf(layout);
    CheckedHeader checked;
    FileHeader& header = checked.header;
    header.clientMagic = bytes.ReadOrZero<std::uint16_t>(0x08);
    header.version = bytes.ReadOrZero<std::uint16_t>(0x0A);
    header.clientVersion = bytes.ReadOrZero<std::uint16_t>(0x0C);
    header.nextBlockBid = bytes.ReadKey(places.nextBlockBid, layout.keyWidth).value_or(0);
    header.nextPageBid = bytes.ReadKey(places.nextPageBid, layout.keyWidth).value_or(0);
    header.unique = bytes.ReadOrZero<std::uint32_t>(places.unique);
    for (std::size_t i = 0; i < header.lastNodeIndex.size(); ++i)
        header.lastNodeIndex[i] = bytes.ReadOrZero<std::uint32_t>(places.nodeIndexes + 4 * i);
    DecodeRoot(layout, bytes, places.root, header);
    header.sentinel = bytes.ReadOrZero<std::uint8_t>(places.sentinel);
    header.cryptMethod = bytes.ReadOrZero<std::uint8_t>(places.sentinel + 1);
    checked.faults = FaultsOf(layout, bytes, header);
    return checked;
}

std::optional<Variant> VariantOfVersion(std::uint16_t version)
{
    if (version == 14 || version == 15)
        return Variant::Ansi;
    if (version >= kVersionUnicode4k)
        return Variant::Unicode4k;
    if (version >= kVersionUnicode)
        return Variant::Unicode;
    return std::nullopt;
}

}  // namespace pastille::format
