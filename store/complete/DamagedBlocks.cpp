#include "store/complete/DamagedBlocks.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

#include "format/Bytes.h"
#include "format/Checksum.h"

namespace pastille::store::complete {
namespace {

constexpr std::size_t kPagesBetweenAsking = 1024;
constexpr std::size_t kLargestTrailer = 24;
/// Ways in which the blocks of one page have moved that are tried.
constexpr std::size_t kMostShifts = 4;

/// A newer page comes first; one whose BID nothing vouches for last.
void SortNewestFirst(std::vector<TreePage>& pages)
{
    const auto age = [](const TreePage& page) {
        return std::tuple(!page.isSound && !page.isAtHome, ~page.bid, !page.isSound, page.offset);
    };
    std::sort(pages.begin(), pages.end(),
              [&age](const TreePage& left, const TreePage& right) { return age(left) < age(right); });
}

class CPageReader {
public:
    CPageReader(CSourceFile& source, const format::VariantLayout& layout, const BlockTraces& traces,
                const CBlockIndex& blocks)
        : m_source(source), m_layout(layout), m_traces(traces), m_blocks(blocks), m_bytes(layout.pageSize)
    {
    }

    void Read(const TreePage& page)
    {
        m_source.Read(page.offset, m_bytes);
        const auto entries =
            ReadBlockEntries(m_layout, page, format::CByteView(m_bytes), m_source.Size()).entries;
        m_shifts.clear();
        std::vector<format::BlockEntry> missing;
        for (const format::BlockEntry& entry : entries) {
            const auto place = m_blocks.Find(entry.reference.bid, page.isAtHome);
            if (!place)
                missing.push_back(entry);
            else
                NoteShift(place->offset - entry.reference.offset);
        }
        for (const format::BlockEntry& entry : missing)
            Add(entry);
    }

    /// One for each BID, of the page read first.
    std::vector<BlockRecord> Take()
    {
        Compact();
        return std::move(m_told);
    }

private:
    void NoteShift(std::uint64_t shift)
    {
        if (shift != 0 && m_shifts.size() < kMostShifts &&
            std::find(m_shifts.begin(), m_shifts.end(), shift) == m_shifts.end())
            m_shifts.push_back(shift);
    }

    void Add(const format::BlockEntry& entry)
    {
        const std::uint64_t offset = PlaceOf(entry);
        if (m_traces.occupied.Overlaps(offset, entry.size))
            return;
        if (m_told.size() == m_told.capacity()) {
            Compact();
            if (m_told.size() > m_told.capacity() / 2)
                m_told.reserve(2 * m_told.capacity());
        }
        const bool isAtHome = offset == entry.reference.offset;
        m_told.emplace_back(entry.reference.bid, offset, entry.size, isAtHome ? BlockRecord::kAtHome : 0);
    }

    std::uint64_t PlaceOf(const format::BlockEntry& entry)
    {
        const auto [bid, offset] = entry.reference;
        // Where the block before has not moved, this one begins in its place, whatever is the matter with its
        // end.
        const std::uint64_t before = std::min<std::uint64_t>(offset, m_layout.blockAlignment);
        if (m_shifts.empty() || IsTrailerOf(bid, offset, entry.size) ||
            m_traces.occupied.Overlaps(offset - before, before))
            return offset;
        for (const std::uint64_t shift : m_shifts) {
            if (IsTrailerOf(bid, offset + shift, entry.size))
                return offset + shift;
        }
        return offset;
    }

    /// Whether a trailer that names the BID ends the place.
    bool IsTrailerOf(std::uint64_t bid, std::uint64_t offset, std::uint32_t size)
    {
        std::array<std::byte, kLargestTrailer> bytes{};
        const auto trailer = std::span(bytes).first(m_layout.blockTrailerSize);
        m_source.Read(offset + format::BlockExtent(m_layout, size) - trailer.size(), trailer);
        const auto named = format::CByteView(trailer).ReadKey(m_layout.blockBidOffset, m_layout.keyWidth);
        return ((named.value_or(0) ^ bid) & ~std::uint64_t{1}) == 0;
    }

    void Compact()
    {
        std::stable_sort(m_told.begin(), m_told.end(), [](const BlockRecord& left, const BlockRecord& right) {
            return left.Bid() < right.Bid();
        });
        const auto repeats = [](const BlockRecord& left, const BlockRecord& right) {
            return left.Bid() == right.Bid();
        };
        m_told.erase(std::unique(m_told.begin(), m_told.end(), repeats), m_told.end());
        m_told.reserve(1024);
    }

    CSourceFile& m_source;
    const format::VariantLayout& m_layout;
    const BlockTraces& m_traces;
    const CBlockIndex& m_blocks;
    std::vector<std::byte> m_bytes;
    std::vector<std::uint64_t> m_shifts;  ///< by which sound blocks of the page have moved
    std::vector<BlockRecord> m_told;
};

}  // namespace

bool AddDamagedBlocks(CSourceFile& source, const format::VariantLayout& layout, BlockTraces traces,
                      CBlockIndex& blocks, const std::function<bool()>& proceed)
{
    SortNewestFirst(traces.leaves);
    CPageReader reader(source, layout, traces, blocks);
    for (std::size_t i = 0; i < traces.leaves.size(); ++i) {
        if (i % kPagesBetweenAsking == 0 && !proceed())
            return false;
        reader.Read(traces.leaves[i]);
    }
    for (const BlockRecord& record : reader.Take())
        blocks.Append(record);
    blocks.Finish();
    std::vector<BlockRecord>& trailers = traces.trailers;
    const auto isKnown = [&](const BlockRecord& record) {
        const BlockPlace place = record.Place();
        return blocks.Find(record.Bid(), true) || traces.occupied.Overlaps(place.offset, place.size);
    };
    trailers.erase(std::remove_if(trailers.begin(), trailers.end(), isKnown), trailers.end());
    for (const BlockRecord& record : trailers)
        blocks.Append(record);
    blocks.Finish();
    return true;
}

}  // namespace pastille::store::complete
