#include "store/HeapProbe.h"

#include <algorithm>
#include <array>
#include <optional>

#include "format/Bytes.h"
#include "format/Inflate.h"

namespace pastille::store {
namespace {

constexpr std::uint16_t kPropertyContextWord = 0xBCEC;
constexpr std::size_t kHeaderBytes = 4;

using format::CryptMethod;
using Header = std::array<std::byte, kHeaderBytes>;

Header FirstBytes(std::span<const std::byte> bytes)
{
    Header header{};
    std::copy_n(bytes.begin(), std::min(bytes.size(), kHeaderBytes), header.begin());
    return header;
}

bool BeginsHeap(FileKind kind, const Header& header)
{
    return AcceptsSignature(kind, format::CByteView(header).ReadOrZero<std::uint16_t>(2));
}

/// True for the first two bytes of a zlib stream. [RFC 1950]
bool BeginsStream(std::span<const std::byte> packed)
{
    constexpr std::byte kDeflate{0x78};
    return packed.size() >= 2 && packed[0] == kDeflate &&
           (std::to_integer<unsigned>(packed[0]) * 256 + std::to_integer<unsigned>(packed[1])) % 31 == 0;
}

/// The first bytes that a zlib stream holds; nothing when it is none.
std::optional<Header> InflateFirst(std::span<const std::byte> packed)
{
    if (!BeginsStream(packed))
        return std::nullopt;
    Header header{};
    return format::Inflate(packed.first(std::min(packed.size(), kProbeBytes)), header).produced == header.size()
               ? std::optional(header)
               : std::nullopt;
}

bool BeginsHeapEncoded(FileKind kind, CryptMethod method, std::uint32_t bid, Header header)
{
    format::DecodeBlock(method, bid, header);
    return BeginsHeap(kind, header);
}

/// The block was packed first and encoded then.
bool BeginsPackedHeap(FileKind kind, CryptMethod method, std::uint32_t bid, std::span<const std::byte> head)
{
    // Decoding is slow, and most blocks show with their first bytes that they are no stream.
    Header start = FirstBytes(head);
    format::DecodeBlock(method, bid, start);
    if (!BeginsStream(start))
        return false;
    std::array<std::byte, kProbeBytes> decoded;
    const auto bytes = std::span(decoded).first(std::min(head.size(), decoded.size()));
    std::copy_n(head.begin(), bytes.size(), bytes.begin());
    format::DecodeBlock(method, bid, bytes);
    const auto header = InflateFirst(bytes);
    return header && BeginsHeap(kind, *header);
}

}  // namespace

bool IsHeapSignature(std::uint16_t word)
{
    return word == kPropertyContextWord || word == 0x7CEC || word == 0x8CEC || word == 0xECEC;
}

bool AcceptsSignature(FileKind kind, std::uint16_t word)
{
    switch (kind) {
        case FileKind::Ost:
            return IsHeapSignature(word);
        case FileKind::Pst:
            return word == kPropertyContextWord;
        case FileKind::Unknown:
            break;
    }
    return false;
}

std::uint8_t HeapMethods(FileKind kind, const format::VariantLayout& layout, std::uint32_t bid,
                         std::span<const std::byte> head)
{
    const bool mayBePacked = layout.variant == format::Variant::Unicode4k;
    const Header stored = FirstBytes(head);
    const auto unpacked = mayBePacked ? InflateFirst(head) : std::nullopt;
    std::uint8_t methods = 0;
    for (const CryptMethod method : format::kCryptMethods) {
        if (BeginsHeapEncoded(kind, method, bid, stored) ||
            (unpacked && BeginsHeapEncoded(kind, method, bid, *unpacked)) ||
            (mayBePacked && method != CryptMethod::None && BeginsPackedHeap(kind, method, bid, head)))
            methods |= MethodBit(method);
    }
    return methods;
}

}  // namespace pastille::store
