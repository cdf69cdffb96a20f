#include "store/BlockCollector.h"

#include <span>
#include <utility>

#include "format/Bytes.h"
#include "format/Checksum.h"
#include "format/Page.h"
#include "store/NodeCollector.h"
#include "store/OccupiedSpace.h"
#include "store/StrayBlocks.h"
#include "store/WindowScan.h"

namespace pastille::store {
namespace {

constexpr std::size_t kStretchBytes = 4096;
constexpr std::size_t kSlotBytes = 16;
constexpr std::uint32_t kLargestBlock = 65512;

/// What one window holds, in the order in which it stands there.
struct WindowBlocks {
    std::vector<BlockRecord> records;    ///< to be appended to the table
    std::vector<TrailerBlock> trailers;  ///< to be kept
    COccupiedSpace pages;                ///< where sound pages lie, of any type
    PageFindings findings;
};

format::BlockEntry EntryAt(format::CByteView page, const format::VariantLayout& layout, std::size_t index)
{
    const auto bytes = page.Sub(index * layout.blockEntrySize, layout.blockEntrySize);
    return format::DecodeBlockEntry(layout, bytes.value_or(format::CByteView()))
        .value_or(format::BlockEntry());
}

/// What a leaf has in it and an inner page has not: places and sizes of blocks.
bool HoldsBlockEntries(format::CByteView page, const format::VariantLayout& layout, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        const auto [reference, size, inflatedSize, references] = EntryAt(page, layout, i);
        if (reference.offset == 0 || reference.offset % layout.blockAlignment != 0 || size == 0 ||
            size > layout.largestBlock)
            return false;
    }
    return count != 0;
}

/// Whether a page with the type word of the BBT gives entries; the reason goes to the findings when not.
bool AcceptBlockPage(format::CByteView page, const format::VariantLayout& layout, std::uint64_t fileOffset,
                     PageFindings& findings)
{
    const std::size_t entrySize = page.ReadOrZero<std::uint8_t>(layout.entrySizeOffset);
    const auto level = page.ReadOrZero<std::uint8_t>(layout.entrySizeOffset + 1);
    const auto count = page.ReadOrZero<std::uint8_t>(layout.countOffset);
    const auto maximum = page.ReadOrZero<std::uint8_t>(layout.maximumCountOffset);
    const auto bid = page.ReadOrZero<std::uint32_t>(layout.pageBidOffset);
    const bool isSigned =
        page.ReadOrZero<std::uint16_t>(layout.signatureOffset) == format::ComputeSignature(fileOffset, bid);
    std::uint64_t* refusal = nullptr;
    if (entrySize != layout.nodeEntrySize && entrySize != layout.blockEntrySize)
        refusal = &findings.refusedEntrySize;
    else if (!isSigned)
        refusal = &findings.refusedSignature;
    else if (maximum == 0 || count > maximum)
        refusal = &findings.refusedCounts;
    else if (level != 0 && !HoldsBlockEntries(page, layout, count))
        refusal = &findings.index;
    ++(refusal != nullptr ? *refusal : findings.accepted);
    return refusal == nullptr;
}

/// Reads entries up to the first that cannot be one.
void AddEntries(format::CByteView page, const format::VariantLayout& layout, std::uint64_t fileSize,
                WindowBlocks& found)
{
    const std::size_t count = page.ReadOrZero<std::uint8_t>(layout.countOffset);
    for (std::size_t i = 0; i < count; ++i) {
        const auto [reference, size, inflatedSize, references] = EntryAt(page, layout, i);
        if (reference.bid == 0 || reference.offset == 0 || size == 0 || size > kLargestBlock ||
            reference.offset >= fileSize || reference.offset % kSlotBytes != 0) {
            found.findings.entriesRefused += count - i;
            return;
        }
        found.records.push_back({static_cast<std::uint32_t>(reference.bid), size, reference.offset});
        ++found.findings.entries;
    }
}

/// Examines windows. One object serves several threads.
class CBlockFinder {
public:
    CBlockFinder(const format::VariantLayout& layout, const BlockScanOptions& options, std::uint64_t fileSize)
        : m_layout(layout), m_options(options), m_fileSize(fileSize)
    {
    }

    WindowBlocks operator()(const ScanWindow& window) const
    {
        WindowBlocks found;
        CTrailerSearch search(window, m_layout, m_options, m_fileSize);
        const std::uint64_t end = window.start + window.transferred;
        for (std::uint64_t offset = window.start; offset < end; offset += m_layout.pageSize) {
            const format::CByteView page = window.At(offset, m_layout.pageSize);
            if (page.ReadOrZero<std::uint16_t>(m_layout.typeOffset) == format::pageword::kBbt &&
                AcceptBlockPage(page, m_layout, offset, found.findings))
                AddEntries(page, m_layout, m_fileSize, found);
            const auto trailer = format::ParsePageTrailer(m_layout, page, offset);
            if (trailer && trailer->faults == format::kPageSound) {
                found.pages.Add(offset, m_layout.pageSize);
                continue;
            }
            // The trailer may be all that blocks have left of an old page.
            const std::size_t before = found.trailers.size();
            search.SearchPage(offset, found.trailers);
            if (!m_layout.wide)
                AppendSigned(std::span(found.trailers).subspan(before), found.records);
        }
        return found;
    }

private:
    /// In narrow files a signature is all that a trailer is asked for, and its record counts like a table's.
    static void AppendSigned(std::span<const TrailerBlock> trailers, std::vector<BlockRecord>& records)
    {
        for (const TrailerBlock& block : trailers) {
            if (block.Has(TrailerBlock::kSigned))
                records.push_back(block.Record());
        }
    }

    const format::VariantLayout& m_layout;
    BlockScanOptions m_options;
    std::uint64_t m_fileSize;
};

}  // namespace

bool ScanBlockPages(CSourceFile& source, const format::VariantLayout& layout, const BlockScanOptions& options,
                    CBlockTable& blocks, std::vector<TrailerBlock>& trailers, ScanFindings& findings,
                    const std::function<bool(std::uint64_t)>& proceed)
{
    const CBlockFinder find(layout, options, source.Size());
    COccupiedSpace pages;
    const bool complete = ScanWindows(
        source, ScanStart(layout.variant), find, [&](const WindowBlocks& found, const ScanWindow& window) {
            for (const BlockRecord& record : found.records)
                blocks.Append(record);
            trailers.insert(trailers.end(), found.trailers.begin(), found.trailers.end());
            findings.blockPages.Add(found.findings);
            pages.Add(found.pages);
            return window.ProceedThrough(kStretchBytes, proceed);
        });
    if (complete)
        SettleStrayBlocks(layout, std::move(pages), trailers, blocks, findings);
    return complete;
}

}  // namespace pastille::store
