#include "store/BlockReader.h"

#include <algorithm>
#include <array>

#include "format/Bytes.h"
#include "format/Inflate.h"

namespace pastille::store {
namespace {

constexpr std::size_t kLargestPacked = 100'000;
constexpr std::size_t kLargestInflated = 200'000;

std::uint16_t SignatureWord(std::span<const std::byte> block)
{
    return format::CByteView(block).ReadOrZero<std::uint16_t>(2);
}

bool BeginsTreeBlock(std::span<const std::byte> bytes)
{
    switch (format::CByteView(bytes).ReadOrZero<std::uint16_t>(0)) {
        case treeword::kXBlock:
        case treeword::kXXBlock:
        case treeword::kSlBlock:
        case treeword::kSiBlock:
            return true;
        default:
            return false;
    }
}

/// Replaces the bytes with what they inflate to. False, and the bytes stay, when that is nothing or, where a
/// whole stream is asked for, when there is none.
bool InflateStream(CBlockReader::Buffer& bytes, bool whole)
{
    static thread_local CBlockReader::Buffer output(kLargestInflated);
    const auto packed = std::span(bytes).first(std::min(bytes.size(), kLargestPacked));
    const auto [produced, isWhole] = format::Inflate(packed, output);
    if (produced == 0 || (whole && !isWhole))
        return false;
    bytes.assign(output.begin(), output.begin() + static_cast<std::ptrdiff_t>(produced));
    return true;
}

}  // namespace

void CBlockReader::Reset(const format::VariantLayout& layout, FileKind kind)
{
    m_layout = &layout;
    m_kind = kind;
    m_method = format::CryptMethod::None;
    m_methodPending = true;
}

bool CBlockReader::DetectCryptMethod(const BlockRecord& block)
{
    std::array<std::byte, kProbeBytes> stored;
    const auto head = std::span(stored).first(std::min<std::size_t>(stored.size(), block.cb));
    constexpr std::size_t kHeapHeader = 4;
    if (m_source.Read(block.ib, head) == 0 ||
        !m_source.UnreadableIn(block.ib, std::min(head.size(), kHeapHeader)).empty())
        return false;
    const std::uint8_t methods = HeapMethods(m_kind, *m_layout, block.bid, head);
    for (const format::CryptMethod method : format::kCryptMethods) {
        if ((methods & MethodBit(method)) != 0) {
            SetMethod(method);
            return true;
        }
    }
    return false;
}

void CBlockReader::SetMethod(format::CryptMethod method)
{
    m_method = method;
    m_methodPending = false;
}

bool CBlockReader::ReadRaw(const BlockRecord& block, Buffer& into)
{
    // A longer block than the variant knows is a damaged size: what lies beyond belongs to other blocks.
    into.resize(std::min<std::size_t>(block.cb, m_layout->largestBlock));
    std::uint64_t readable = m_source.Read(block.ib, into);
    for (const CSourceFile::Range& hole : m_source.UnreadableIn(block.ib, readable))
        readable -= hole.length;
    return readable != 0;
}

bool CBlockReader::ReadDecoded(const BlockRecord& block, Buffer& into)
{
    bool unpacked = false;
    return ReadDecoded(block, into, unpacked);
}

bool CBlockReader::ReadDecoded(const BlockRecord& block, Buffer& into, bool& unpacked)
{
    if (!ReadRaw(block, into))
        return false;
    unpacked = m_method != format::CryptMethod::None && Unpack(into);
    format::DecodeBlock(m_method, block.bid, into);
    if (unpacked)
        return true;  // a stream with a hole would not have been whole
    for (const CSourceFile::Range& hole : m_source.UnreadableIn(block.ib, into.size())) {
        const auto start = into.begin() + static_cast<std::ptrdiff_t>(hole.offset - block.ib);
        std::fill_n(start, hole.length, std::byte{0});
    }
    return true;
}

bool CBlockReader::ReadContents(const BlockRecord& block, Buffer& into)
{
    bool unpacked = false;
    if (!ReadDecoded(block, into, unpacked))
        return false;
    if (!unpacked && !IsHeapSignature(SignatureWord(into)))
        Inflate(into);
    return true;
}

bool CBlockReader::ReadFilePiece(const BlockRecord& block, Buffer& into)
{
    bool unpacked = false;
    if (!ReadDecoded(block, into, unpacked))
        return false;
    if (!unpacked && into.size() < m_layout->largestBlock)
        Inflate(into);
    return true;
}

bool CBlockReader::ReadTreeBlock(const BlockRecord& block, Buffer& into)
{
    if (!ReadRaw(block, into))
        return false;
    if (!BeginsTreeBlock(into))
        Inflate(into);
    return true;
}

void CBlockReader::Inflate(Buffer& bytes) const
{
    // Whether the stream is whole is of no interest: a damaged one gives what came before the damage.
    if (m_layout->variant == format::Variant::Unicode4k)
        InflateStream(bytes, false);
}

/// Replaces the bytes only when all of a zlib stream is there, its checksum included.
bool CBlockReader::Unpack(Buffer& bytes) const
{
    return m_layout->variant == format::Variant::Unicode4k && InflateStream(bytes, true);
}

}  // namespace pastille::store
