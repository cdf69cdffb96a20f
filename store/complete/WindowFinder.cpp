#include "store/complete/WindowFinder.h"

#include <algorithm>
#include <utility>

#include "format/Bytes.h"
#include "format/Checksum.h"
#include "format/Page.h"
#include "store/complete/WindowSums.h"

namespace pastille::store::complete {
namespace {

/// Pages with wrong bytes at odd places that a window may be asked about.
constexpr unsigned kDoubtfulPages = 1024;
/// In a sound file places do not overlap; this bounds what a hostile one costs.
constexpr unsigned kOverlapsLookedAt = 64;

class CWindowFinder {
public:
    CWindowFinder(const format::VariantLayout& layout, const ScanWindow& window)
        : m_layout(layout),
          m_window(window),
          m_bytes(window.view.Bytes()),
          m_sums(m_bytes),
          m_start(window.start),
          m_end(window.start + window.transferred)
    {
    }

    std::vector<FoundPlace> Find()
    {
        SearchAligned();
        const std::size_t aligned = m_found.size();
        std::uint64_t end = m_end;
        for (std::size_t i = 0; i < aligned; ++i) {
            SearchAnywhere(m_found[i].end, end);
            end = m_found[i].start;
        }
        SearchAnywhere(m_start, end);
        std::stable_sort(m_found.begin(), m_found.end(), [](const FoundPlace& left, const FoundPlace& right) {
            return left.end < right.end;
        });
        return std::move(m_found);
    }

private:
    struct Trailer {
        std::uint64_t start;
        std::uint32_t size, crc;
        std::uint64_t bid;
        bool isAtHome;
    };

    std::size_t IndexOf(std::uint64_t offset) const
    {
        return static_cast<std::size_t>(offset - m_window.viewStart);
    }
    /// First word of a trailer that ends there: cb of a block, the type of a page.
    std::uint16_t WordBefore(std::uint64_t end) const
    {
        return format::LoadLE<std::uint16_t>(m_bytes, IndexOf(end) - m_layout.blockTrailerSize);
    }
    bool HasTrailerBefore(std::uint64_t end) const
    {
        return end - m_window.viewStart >= m_layout.blockTrailerSize;
    }
    bool BelongsAt(std::uint64_t end, std::size_t alignment) const { return end % alignment == 0; }

    void SearchAligned();
    void SearchAnywhere(std::uint64_t first, std::uint64_t end);
    bool FindAt(std::uint64_t end);
    bool SkipZeros(std::uint64_t& end) const;
    std::optional<Trailer> BlockTrailerBefore(std::uint64_t end) const;
    void AddBlock(const Trailer& trailer, std::uint64_t end, bool isSound);
    bool FindBlock(std::uint64_t end);
    bool FindPage(std::uint64_t end, bool soundOnly);
    bool MayBePage(format::CByteView bytes) const;
    void AddPage(const TreePage& page, format::CByteView bytes);

    const format::VariantLayout& m_layout;
    const ScanWindow& m_window;
    std::span<const std::byte> m_bytes;
    CWindowSums m_sums;
    std::uint64_t m_start, m_end;               ///< of the ends that count
    std::uint64_t m_limit = ~std::uint64_t{0};  ///< start of the lowest place found so far
    unsigned m_doubtfulPages = kDoubtfulPages;
    std::vector<FoundPlace> m_found;
};

/// From the back to the front: of a place that is sound nothing inside is looked at.
void CWindowFinder::SearchAligned()
{
    const std::size_t step = m_layout.blockAlignment;
    for (std::uint64_t end = m_end / step * step; end > m_start && HasTrailerBefore(end);) {
        const std::size_t before = m_found.size();
        if (BelongsAt(end, m_layout.pageSize))
            FindPage(end, true);
        const auto trailer = m_found.size() == before ? BlockTrailerBefore(end) : std::nullopt;
        if (trailer && m_sums.Matches(IndexOf(trailer->start), trailer->size, trailer->crc))
            AddBlock(*trailer, end, true);
        end = m_found.size() == before ? end - step : m_found.back().start;
    }
}

/// Looks at every place between that a trailer can end at.
void CWindowFinder::SearchAnywhere(std::uint64_t first, std::uint64_t end)
{
    end = std::min(end, m_limit);
    first = std::max(first, m_start);
    while (end > first && HasTrailerBefore(end)) {
        if (SkipZeros(end))
            continue;
        if (FindAt(end))
            end = m_limit = m_found.back().start;
        else
            --end;
    }
}

bool CWindowFinder::SkipZeros(std::uint64_t& end) const
{
    constexpr std::size_t kRun = 64;
    const std::size_t index = IndexOf(end);
    if (index < kRun || m_bytes[index - 1] != std::byte{0})
        return false;
    const auto run = m_bytes.subspan(index - kRun, kRun);
    std::uint64_t any = 0;
    for (std::size_t i = 0; i < kRun; i += sizeof any)
        any |= format::LoadLE<std::uint64_t>(run, i);
    if (any != 0)
        return false;
    end -= kRun - m_layout.blockTrailerSize;
    return true;
}

/// True when a sound place ends there; it is the one found last then.
bool CWindowFinder::FindAt(std::uint64_t end)
{
    const std::uint16_t word = WordBefore(end);
    if (word == 0)
        return false;
    if ((word & 0xFF) == word >> 8 && FindPage(end, false))
        return true;
    return word <= m_layout.largestBlock && FindBlock(end);
}

std::optional<CWindowFinder::Trailer> CWindowFinder::BlockTrailerBefore(std::uint64_t end) const
{
    const auto bytes = m_bytes.subspan(IndexOf(end) - m_layout.blockTrailerSize, m_layout.blockTrailerSize);
    Trailer trailer{};
    trailer.size = format::LoadLE<std::uint16_t>(bytes, 0);
    if (trailer.size == 0 || trailer.size > m_layout.largestBlock)
        return std::nullopt;
    trailer.bid = m_layout.wide ? format::LoadLE<std::uint64_t>(bytes, m_layout.blockBidOffset)
                                : format::LoadLE<std::uint32_t>(bytes, m_layout.blockBidOffset);
    const std::uint64_t extent = format::BlockExtent(m_layout, trailer.size);
    if (trailer.bid < 2 || trailer.bid > kBidLimit || end - m_window.viewStart < extent)
        return std::nullopt;
    trailer.start = end - extent;
    trailer.crc = format::LoadLE<std::uint32_t>(bytes, m_layout.blockCrcOffset);
    trailer.isAtHome =
        format::LoadLE<std::uint16_t>(bytes, 2) == format::ComputeSignature(trailer.start, trailer.bid);
    // Zeros have the sum 0, so nearly anything behind zeros could be the trailer of a block of them.
    if (trailer.crc == 0 && !(trailer.isAtHome && BelongsAt(end, m_layout.blockAlignment)))
        return std::nullopt;
    return trailer;
}

void CWindowFinder::AddBlock(const Trailer& trailer, std::uint64_t end, bool isSound)
{
    FoundPlace& place = m_found.emplace_back();
    place.start = trailer.start;
    place.end = end;
    place.isSound = isSound;
    place.isAtHome = trailer.isAtHome;
    place.size = trailer.size;
    place.bid = trailer.bid;
}

bool CWindowFinder::FindBlock(std::uint64_t end)
{
    const auto trailer = BlockTrailerBefore(end);
    if (!trailer)
        return false;
    const bool isSound = m_sums.Matches(IndexOf(trailer->start), trailer->size, trailer->crc);
    if (isSound || (trailer->isAtHome && BelongsAt(end, m_layout.blockAlignment)))
        AddBlock(*trailer, end, isSound);
    return isSound;
}

/// Whether the counters of a tree page could be there: asked before anything is summed.
bool CWindowFinder::MayBePage(format::CByteView bytes) const
{
    const auto word = bytes.ReadOrZero<std::uint16_t>(m_layout.typeOffset);
    const auto entrySize = bytes.ReadOrZero<std::uint8_t>(m_layout.entrySizeOffset);
    const auto level = bytes.ReadOrZero<std::uint8_t>(m_layout.entrySizeOffset + 1);
    return (word == format::pageword::kNbt || word == format::pageword::kBbt) && level <= kMostLevels &&
           entrySize >= format::TreeEntrySize(m_layout, static_cast<format::PageType>(word & 0xFF), level);
}

bool CWindowFinder::FindPage(std::uint64_t end, bool soundOnly)
{
    const std::uint64_t size = m_layout.pageSize;
    if (end - m_window.viewStart < size)
        return false;
    const format::CByteView bytes = m_bytes.subspan(IndexOf(end - size), size);
    const bool belongs = BelongsAt(end, size);
    if (!belongs) {
        if (!MayBePage(bytes))
            return false;
        const bool isSound = m_sums.Matches(IndexOf(end - size), m_layout.typeOffset,
                                            bytes.ReadOrZero<std::uint32_t>(m_layout.pageCrcOffset));
        if (!isSound && (m_doubtfulPages == 0 || m_doubtfulPages-- == 0))
            return false;
    }
    const auto page = RecognisePage(m_layout, bytes, end - size);
    if (!page || (soundOnly && !page->isSound))
        return false;
    if (!page->isSound && !belongs && !page->IsNodePage() && !page->IsBlockLeaf())
        return false;
    AddPage(*page, bytes);
    return page->isSound;
}

void CWindowFinder::AddPage(const TreePage& page, format::CByteView bytes)
{
    PageEntries<format::NodeEntry> nodes;
    if (page.IsNodePage() && page.level == 0)
        nodes = ReadNodeEntries(m_layout, page, bytes);
    FoundPlace& place = m_found.emplace_back();
    place.start = page.offset;
    place.end = page.offset + m_layout.pageSize;
    place.isSound = page.isSound;
    place.isAtHome = page.isAtHome;
    place.isPage = true;
    place.bid = page.bid;
    place.page = page;
    place.nodes = std::move(nodes.entries);
}

bool LiesIn(const FoundPlace& inner, const FoundPlace& outer)
{
    return inner.start >= outer.start && inner.end <= outer.end &&
           inner.end - inner.start < outer.end - outer.start;
}

/// Of two places that overlap, whether this one is to go.
bool GivesWay(const FoundPlace& place, const FoundPlace& other)
{
    if (place.isSound)
        return LiesIn(place, other) &&
               (other.isSound || (other.isAtHome && !other.isPage && !place.isAtHome));
    // What is sound has been written over it, unless that is the contents of this very block.
    return other.isSound && !GivesWay(other, place);
}

}  // namespace

std::vector<FoundPlace> FindPlaces(const format::VariantLayout& layout, const ScanWindow& window)
{
    return CWindowFinder(layout, window).Find();
}

void AddPlace(std::vector<FoundPlace>& places, FoundPlace place)
{
    unsigned looked = 0;
    for (std::size_t i = places.size(); i-- > 0 && places[i].end > place.start;) {
        if (GivesWay(places[i], place))
            places.erase(places.begin() + static_cast<std::ptrdiff_t>(i));
        else if (GivesWay(place, places[i]))
            return;
        else if (++looked == kOverlapsLookedAt)
            break;
    }
    places.push_back(std::move(place));
}

}  // namespace pastille::store::complete
