#include "bench/StoreHostile.h"

#include <algorithm>
#include <functional>
#include <random>

#include "format/Bytes.h"
#include "format/Checksum.h"

namespace pastille::bench {
namespace {

using format::StoreLE;
using format::VariantLayout;
using tests::Bytes;
using tests::StoreFormat;

constexpr std::size_t kChunk = std::size_t{1} << 20;

void StoreKey(std::span<std::byte> into, const VariantLayout& layout, std::size_t offset, std::uint64_t value)
{
    if (layout.wide)
        StoreLE(into, offset, value);
    else
        StoreLE(into, offset, static_cast<std::uint32_t>(value));
}

/// Makes a leaf page of `entries` entries of a page that lies at `offset`.
void SealPage(std::span<std::byte> page, const VariantLayout& layout, std::uint16_t type, std::size_t entries,
              std::uint64_t offset)
{
    const std::size_t size = type == format::pageword::kNbt ? layout.nodeEntrySize : layout.blockEntrySize;
    const std::uint64_t bid = 0x1000001 + offset / layout.pageSize * 4;
    page[layout.countOffset] = static_cast<std::byte>(entries);
    page[layout.maximumCountOffset] = static_cast<std::byte>(layout.countOffset / size);
    page[layout.entrySizeOffset] = static_cast<std::byte>(size);
    StoreLE(page, layout.typeOffset, type);
    StoreLE(page, layout.signatureOffset, format::ComputeSignature(offset, bid));
    StoreKey(page, layout, layout.pageBidOffset, bid);
    StoreLE(page, layout.pageCrcOffset, format::ComputeCrc(page.first(layout.typeOffset)));
}

/// `offset` is that of the chunk in the file; chunks come in order and begin all zero.
using FillChunk = std::function<void(std::span<std::byte> chunk, std::uint64_t offset)>;

void FillRandom(std::span<std::byte> chunk, std::uint64_t offset)
{
    std::mt19937_64 random(offset);
    for (std::size_t at = 0; at + 8 <= chunk.size(); at += 8)
        StoreLE(chunk, at, static_cast<std::uint64_t>(random()));
}

/// A trailer ends at every 16 bytes; in 4 KB files, whose trailers are longer, where the last of a block can.
void FillTrailers(const VariantLayout& layout, std::span<std::byte> chunk, std::uint64_t offset)
{
    const std::size_t unit = layout.blockAlignment;
    for (std::size_t end = 16; end <= chunk.size(); end += 16) {
        if (layout.blockTrailerSize > 16 && end % unit == 16)
            continue;  // it would overwrite the end of the trailer that ends the unit before
        const std::uint64_t bid = (offset + end) / 16 * 4;
        const std::size_t units = bid % 64 == 0 ? 1 + bid / 64 % (layout.largestBlock / unit) : 1;
        if (end < units * unit)
            continue;
        const std::size_t start = end - units * unit;
        const std::size_t cb = units * unit - layout.blockTrailerSize;
        const auto trailer =
            chunk.subspan(end - std::min<std::size_t>(end, layout.blockTrailerSize), layout.blockTrailerSize);
        StoreLE(trailer, 0, static_cast<std::uint16_t>(cb));
        StoreLE(trailer, 2, format::ComputeSignature(offset + start, bid));
        if (end % unit == 0 && units == 1)
            StoreLE(trailer, layout.blockCrcOffset, format::ComputeCrc(chunk.subspan(start, cb)));
        StoreKey(trailer, layout, layout.blockBidOffset, bid);
        if (layout.blockTrailerSize > 16)
            StoreLE(trailer, 18, static_cast<std::uint16_t>(cb));
    }
}

void FillBbtPages(const VariantLayout& layout, std::span<std::byte> chunk, std::uint64_t offset)
{
    const std::size_t entries = layout.countOffset / layout.blockEntrySize;
    for (std::size_t at = 0; at + layout.pageSize <= chunk.size(); at += layout.pageSize) {
        const auto page = chunk.subspan(at, layout.pageSize);
        for (std::size_t i = 0; i < entries; ++i) {
            const std::size_t entry = i * layout.blockEntrySize;
            StoreKey(page, layout, entry, 4 * (i + 1));
            StoreKey(page, layout, entry + layout.keyWidth, 0x30000 + i * 8192);
            StoreLE(page, entry + 2 * layout.keyWidth, static_cast<std::uint16_t>(8000));
        }
        SealPage(page, layout, format::pageword::kBbt, entries, offset + at);
    }
}

void FillNbtPages(const VariantLayout& layout, std::span<std::byte> chunk, std::uint64_t offset)
{
    constexpr std::uint32_t kMostBid = 0xFFFFF0;  // BIDs beyond 24 bits are not taken
    const std::size_t entries = layout.countOffset / layout.nodeEntrySize;
    for (std::size_t at = 0; at + layout.pageSize <= chunk.size(); at += layout.pageSize) {
        const auto page = chunk.subspan(at, layout.pageSize);
        const auto first = static_cast<std::uint32_t>((offset + at) / layout.pageSize * entries);
        for (std::size_t i = 0; i < entries; ++i) {
            const std::uint32_t number = first + static_cast<std::uint32_t>(i);
            const std::size_t entry = i * layout.nodeEntrySize;
            StoreKey(page, layout, entry, (number + 1) << 5 | 4);
            StoreKey(page, layout, entry + layout.keyWidth, number % (kMostBid / 4) * 4 + 4);
            StoreKey(page, layout, entry + 2 * layout.keyWidth, (number * 2654435761u >> 8) % kMostBid | 2);
            StoreLE(page, entry + 3 * layout.keyWidth, std::uint32_t{0x8022});
        }
        SealPage(page, layout, format::pageword::kNbt, entries, offset + at);
    }
}

FillChunk FillerOf(HostileFill fill, const VariantLayout& layout)
{
    using namespace std::placeholders;
    switch (fill) {
        case HostileFill::Random:
            return FillRandom;
        case HostileFill::Trailers:
            return std::bind(FillTrailers, std::cref(layout), _1, _2);
        case HostileFill::BbtPage:
            return std::bind(FillBbtPages, std::cref(layout), _1, _2);
        case HostileFill::NbtPages:
            return std::bind(FillNbtPages, std::cref(layout), _1, _2);
        case HostileFill::Zeros:
            break;
    }
    return [](std::span<std::byte>, std::uint64_t) {};
}

}  // namespace

void WriteHostileFile(HostileFill fill, const StoreFormat& format, std::uint64_t size, platform::IFile& file)
{
    const VariantLayout& layout = format::LayoutOf(format.variant);
    Bytes header(layout.headerBytes);
    StoreLE(std::span(header), 8, static_cast<std::uint16_t>(format.ost ? 0x4F53 : 0x4D53));
    file.WriteAt(0, header);
    const std::uint64_t first = layout.pageSize == 4096 ? 0x24000 : 0x4800;
    Bytes page(layout.pageSize);
    SealPage(page, layout, format::pageword::kBbt, 0, first);
    file.WriteAt(first, page);
    const FillChunk fillChunk = FillerOf(fill, layout);
    for (std::uint64_t at = first + layout.pageSize; at < size; at += kChunk) {
        Bytes chunk(std::min<std::uint64_t>(kChunk, size - at));
        fillChunk(chunk, at);
        file.WriteAt(at, chunk);
    }
    file.SetSize(std::max(size, first + layout.pageSize));
}

}  // namespace pastille::bench
