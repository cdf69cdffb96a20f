#include "component/pst/messaging/RtfStream.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "component/pst/messaging/RtfDictionary.h"
#include "format/Bytes.h"
#include "format/Checksum.h"

namespace pastille::component::pst {
namespace {

//   offset  size  field
//        0     4  COMPSIZE  length of everything after this field
//        4     4  RAWSIZE   length of the RTF
//        8     4  COMPTYPE
//       12     4  CRC       of the contents; 0 when stored
constexpr std::size_t kHeaderSize = 16;
constexpr std::size_t kSizeFieldSize = 4;
constexpr std::uint32_t kCompressed = 0x75465A4C;  ///< "LZFu"
constexpr std::uint32_t kStored = 0x414C454D;      ///< "MELA"

std::uint32_t TypeOf(std::span<const std::byte> bytes)
{
    return bytes.size() < kHeaderSize ? 0 : format::LoadLE<std::uint32_t>(bytes, 8);
}

/// The contents as far as they are there.
std::span<const std::byte> ContentsOf(std::span<const std::byte> bytes)
{
    const std::uint64_t stated = std::uint64_t{format::LoadLE<std::uint32_t>(bytes, 0)} + kSizeFieldSize;
    const auto end = static_cast<std::size_t>(std::clamp<std::uint64_t>(stated, kHeaderSize, bytes.size()));
    return bytes.subspan(kHeaderSize, end - kHeaderSize);
}

std::vector<std::byte> StoredContents(std::span<const std::byte> bytes)
{
    // Some writers count the header in RAWSIZE; what is there decides.
    const auto contents = bytes.subspan(kHeaderSize);
    const auto size = std::min<std::size_t>(contents.size(), format::LoadLE<std::uint32_t>(bytes, 4));
    return {contents.begin(), contents.begin() + static_cast<std::ptrdiff_t>(size)};
}

class CDecompressor {
public:
    CDecompressor() { std::ranges::copy(std::as_bytes(std::span(kRtfDictionary)), m_ring.begin()); }

    std::vector<std::byte> Run(std::span<const std::byte> contents)
    {
        std::size_t at = 0;
        while (at < contents.size()) {
            const auto control = static_cast<unsigned>(contents[at++]);
            for (unsigned bit = 0; bit < 8 && at < contents.size(); ++bit) {
                if ((control >> bit & 1) == 0) {
                    Put(contents[at++]);
                    continue;
                }
                // Two bytes: offset 12 bits, length - 2 in 4. The offset of the next byte ends the stream.
                if (at + 2 > contents.size())
                    return std::move(m_rtf);
                const auto reference =
                    static_cast<unsigned>(contents[at]) << 8 | static_cast<unsigned>(contents[at + 1]);
                at += 2;
                if (reference >> 4 == m_write)
                    return std::move(m_rtf);
                Copy(reference >> 4, (reference & 0xF) + kShortestRtfMatch);
            }
        }
        return std::move(m_rtf);
    }

private:
    void Put(std::byte byte)
    {
        m_rtf.push_back(byte);
        m_ring[m_write] = byte;
        m_write = (m_write + 1) % kRtfRing;
    }
    void Copy(std::size_t offset, std::size_t length)
    {
        for (std::size_t i = 0; i < length; ++i)
            Put(m_ring[(offset + i) % kRtfRing]);
    }

    std::array<std::byte, kRtfRing> m_ring{};
    std::size_t m_write = kRtfDictionary.size();
    std::vector<std::byte> m_rtf;
};

/// Places that hold the same two bytes, the latest first.
class CMatchFinder {
public:
    explicit CMatchFinder(std::span<const std::byte> rtf) : m_rtf(rtf)
    {
        for (std::size_t place = 0; place < kRtfDictionary.size(); ++place)
            Insert(place);
    }

    struct Match {
        std::size_t place = 0;  ///< counted from the start of the dictionary, which the RTF follows
        std::size_t length = 0;
    };

    /// Of the longest matches the oldest one met.
    Match Find(std::size_t place) const
    {
        Match best;
        if (place + kShortestRtfMatch > End())
            return best;
        const std::size_t longest = std::min(kLongestRtfMatch, End() - place);
        unsigned steps = 0;
        for (std::int64_t at = m_latest[PairAt(place)]; IsInReach(at, place) && steps < kMostSteps; ++steps) {
            const auto candidate = static_cast<std::size_t>(at);
            std::size_t length = kShortestRtfMatch;
            while (length < longest && At(candidate + length) == At(place + length))
                ++length;
            if (length >= best.length)
                best = {candidate, length};
            if (length == longest)
                break;
            at = m_earlier[candidate % kRtfRing];
        }
        return best;
    }

    void Insert(std::size_t place)
    {
        if (place + 1 >= End())
            return;
        std::int64_t& latest = m_latest[PairAt(place)];
        m_earlier[place % kRtfRing] = latest;
        latest = static_cast<std::int64_t>(place);
    }

    std::size_t End() const { return kRtfDictionary.size() + m_rtf.size(); }
    std::byte At(std::size_t place) const
    {
        return place < kRtfDictionary.size() ? static_cast<std::byte>(kRtfDictionary[place])
                                             : m_rtf[place - kRtfDictionary.size()];
    }

private:
    /// Candidates looked at for one place; more gain little and make the time grow.
    static constexpr unsigned kMostSteps = 64;

    /// The place a whole ring back is the one written next, which stands for the end of the stream.
    static bool IsInReach(std::int64_t at, std::size_t place)
    {
        return at >= 0 && place - static_cast<std::size_t>(at) < kRtfRing;
    }
    std::size_t PairAt(std::size_t place) const
    {
        return static_cast<std::size_t>(At(place)) << 8 | static_cast<std::size_t>(At(place + 1));
    }

    std::span<const std::byte> m_rtf;
    std::vector<std::int64_t> m_latest = std::vector<std::int64_t>(65536, -1);
    std::array<std::int64_t, kRtfRing> m_earlier{};
};

/// Gathers up to eight tokens behind the control byte that tells their kinds.
class CTokenWriter {
public:
    explicit CTokenWriter(std::vector<std::byte>& to) : m_to(to) {}

    void Literal(std::byte byte)
    {
        Begin(false);
        m_to.push_back(byte);
    }
    void Reference(std::size_t offset, std::size_t length)
    {
        Begin(true);
        const std::size_t word = offset << 4 | (length - kShortestRtfMatch);
        m_to.push_back(static_cast<std::byte>(word >> 8));
        m_to.push_back(static_cast<std::byte>(word & 0xFF));
    }

private:
    void Begin(bool isReference)
    {
        if (m_count == 0) {
            m_control = m_to.size();
            m_to.push_back(std::byte{0});
        }
        if (isReference)
            m_to[m_control] |= static_cast<std::byte>(1u << m_count);
        m_count = (m_count + 1) % 8;
    }

    std::vector<std::byte>& m_to;
    std::size_t m_control = 0;
    unsigned m_count = 0;
};

}  // namespace

bool LooksLikeRtfStream(std::span<const std::byte> bytes)
{
    return TypeOf(bytes) == kCompressed || TypeOf(bytes) == kStored;
}

bool IsRtfStream(std::span<const std::byte> bytes)
{
    if (!LooksLikeRtfStream(bytes) ||
        std::uint64_t{format::LoadLE<std::uint32_t>(bytes, 0)} + kSizeFieldSize != bytes.size())
        return false;
    if (TypeOf(bytes) == kStored)
        return format::LoadLE<std::uint32_t>(bytes, 4) == bytes.size() - kHeaderSize;
    return format::LoadLE<std::uint32_t>(bytes, 12) == format::ComputeCrc(bytes.subspan(kHeaderSize));
}

std::vector<std::byte> CompressRtf(std::span<const std::byte> rtf)
{
    std::vector<std::byte> bytes(kHeaderSize);
    CMatchFinder finder(rtf);
    CTokenWriter tokens(bytes);
    std::size_t place = kRtfDictionary.size();
    while (place < finder.End()) {
        const auto match = finder.Find(place);
        if (match.length == 0)
            tokens.Literal(finder.At(place));
        else
            tokens.Reference(match.place % kRtfRing, match.length);
        const std::size_t next = place + std::max<std::size_t>(match.length, 1);
        while (place < next)
            finder.Insert(place++);
    }
    tokens.Reference(place % kRtfRing, kShortestRtfMatch);

    format::StoreLE(bytes, 0, static_cast<std::uint32_t>(bytes.size() - kSizeFieldSize));
    format::StoreLE(bytes, 4, static_cast<std::uint32_t>(rtf.size()));
    format::StoreLE(bytes, 8, kCompressed);
    format::StoreLE(bytes, 12, format::ComputeCrc(std::span(bytes).subspan(kHeaderSize)));
    return bytes;
}

std::vector<std::byte> DecompressRtf(std::span<const std::byte> bytes)
{
    if (TypeOf(bytes) == kCompressed)
        return CDecompressor().Run(ContentsOf(bytes));
    if (TypeOf(bytes) == kStored)
        return StoredContents(bytes);
    return {bytes.begin(), bytes.end()};
}

}  // namespace pastille::component::pst
