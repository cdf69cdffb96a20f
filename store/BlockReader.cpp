#include "store/BlockReader.h"

#include <zlib.h>

#include <algorithm>
#include <array>

#include "format/Bytes.h"

namespace pastille::store {
namespace {

constexpr std::uint16_t kPropertyContextWord = 0xBCEC;
constexpr std::size_t kLargestPacked = 100'000;
constexpr std::size_t kLargestInflated = 200'000;

std::uint16_t SignatureWord(std::span<const std::byte> block)
{
    return format::CByteView(block).ReadOrZero<std::uint16_t>(2);
}

bool BeginsTreeBlock(std::span<const std::byte> bytes)
{
    switch (format::CByteView(bytes).ReadOrZero<std::uint16_t>(0)) {
        case 0x0101:
        case 0x0201:
        case 0x0002:
        case 0x0102:
            return true;
        default:
            return false;
    }
}

}  // namespace

bool IsHeapSignature(std::uint16_t word)
{
    return word == kPropertyContextWord || word == 0x7CEC || word == 0x8CEC || word == 0xECEC;
}

void CBlockReader::Reset(const format::VariantLayout& layout, FileKind kind)
{
    m_layout = &layout;
    m_kind = kind;
    m_method = format::CryptMethod::None;
    m_methodPending = true;
}

bool CBlockReader::AcceptsSignature(std::uint16_t word) const
{
    switch (m_kind) {
        case FileKind::Ost:
            return IsHeapSignature(word);
        case FileKind::Pst:
            return word == kPropertyContextWord;
        case FileKind::Unknown:
            break;
    }
    return false;
}

bool CBlockReader::DetectCryptMethod(const BlockRecord& block)
{
    std::array<std::byte, 4> stored{};
    const std::size_t wanted = std::min<std::size_t>(stored.size(), block.cb);
    if (m_source.Read(block.ib, std::span(stored).first(wanted)) == 0 ||
        !m_source.UnreadableIn(block.ib, wanted).empty())
        return false;
    using enum format::CryptMethod;
    for (const format::CryptMethod method : {None, Permute, Cyclic}) {
        auto decoded = stored;
        format::DecodeBlock(method, block.bid, decoded);
        if (AcceptsSignature(SignatureWord(decoded))) {
            m_method = method;
            m_methodPending = false;
            return true;
        }
    }
    return false;
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
    if (!ReadRaw(block, into))
        return false;
    format::DecodeBlock(m_method, block.bid, into);
    for (const CSourceFile::Range& hole : m_source.UnreadableIn(block.ib, into.size())) {
        const auto start = into.begin() + static_cast<std::ptrdiff_t>(hole.offset - block.ib);
        std::fill_n(start, hole.length, std::byte{0});
    }
    return true;
}

bool CBlockReader::ReadContents(const BlockRecord& block, Buffer& into)
{
    if (!ReadDecoded(block, into))
        return false;
    if (!IsHeapSignature(SignatureWord(into)))
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
    if (m_layout->variant != format::Variant::Unicode4k)
        return;
    static thread_local Buffer output(kLargestInflated);
    z_stream stream{};
    stream.next_in = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_in = static_cast<uInt>(std::min(bytes.size(), kLargestPacked));
    stream.next_out = reinterpret_cast<Bytef*>(output.data());
    stream.avail_out = static_cast<uInt>(output.size());
    if (inflateInit(&stream) != Z_OK)
        return;
    // The result code is of no interest: a damaged stream gives what came before the damage.
    inflate(&stream, Z_NO_FLUSH);
    const std::size_t produced = output.size() - stream.avail_out;
    inflateEnd(&stream);
    if (produced != 0)
        bytes.assign(output.begin(), output.begin() + static_cast<std::ptrdiff_t>(produced));
}

}  // namespace pastille::store
