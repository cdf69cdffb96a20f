#include "store/complete/CompleteScan.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "format/Header.h"
#include "store/WindowScan.h"
#include "store/complete/CryptChoice.h"
#include "store/complete/DamagedBlocks.h"
#include "store/complete/VersionChoice.h"
#include "store/complete/WindowFinder.h"

namespace pastille::store::complete {
namespace {

constexpr std::size_t kBytesBetweenAsking = 65536;

/// Takes what the windows hold, in the order of the file.
class CFindings {
public:
    explicit CFindings(CScannedSource& source) : m_source(source) {}

    void Take(std::vector<FoundPlace> found, std::uint64_t windowEnd)
    {
        for (FoundPlace& place : found)
            AddPlace(m_pending, std::move(place));
        // A block that ends in the next window can begin in this one.
        const std::uint64_t reach = format::BlockExtent(m_source.Layout(), m_source.Layout().largestBlock);
        Settle(windowEnd - std::min(windowEnd, reach));
    }

    BlockTraces Finish()
    {
        Settle(~std::uint64_t{0});
        m_source.blocks.Finish();
        m_source.nodes.Finish();
        m_traces.occupied.Finish();
        return std::move(m_traces);
    }

private:
    void Settle(std::uint64_t end)
    {
        std::size_t settled = 0;
        while (settled < m_pending.size() && m_pending[settled].end <= end)
            Keep(m_pending[settled++]);
        m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(settled));
    }

    void Keep(const FoundPlace& place)
    {
        if (place.isSound && place.isAtHome)
            m_traces.occupied.Add(place.start, place.end - place.start);
        if (place.isPage)
            KeepPage(place);
        else if (place.isSound)
            m_source.blocks.Append(RecordOf(place));
        else
            m_traces.trailers.push_back(RecordOf(place));
    }

    void KeepPage(const FoundPlace& place)
    {
        if (place.page.IsBlockLeaf())
            m_traces.leaves.push_back(place.page);
        if (!place.page.IsNodePage())
            return;
        const std::uint32_t number =
            m_source.nodes.AddPage({place.start, place.bid, place.isSound, place.isAtHome, place.page.level});
        for (const format::NodeEntry& entry : place.nodes)
            m_source.nodes.Append({entry.bidData & ~std::uint64_t{1}, entry.bidSub & ~std::uint64_t{1},
                                   static_cast<std::uint32_t>(entry.nid), entry.nidParent, number, 0});
    }

    static BlockRecord RecordOf(const FoundPlace& place)
    {
        return {place.bid, place.start, place.size,
                static_cast<std::uint8_t>((place.isSound ? BlockRecord::kSound : 0) |
                                          (place.isAtHome ? BlockRecord::kAtHome : 0))};
    }

    CScannedSource& m_source;
    std::vector<FoundPlace> m_pending;
    BlockTraces m_traces;
};

struct HeaderFacts {
    std::optional<format::BlockReference> root;  ///< of the node tree; of a sound header only
    std::optional<format::CryptMethod> method;
    std::uint64_t statedSize = 0;  ///< of a sound header only
};

HeaderFacts ReadHeader(CScannedSource& source)
{
    std::vector<std::byte> bytes(source.Layout().headerBytes);
    source.file.Read(0, bytes);
    const auto checked = format::DecodeHeader(source.Layout(), format::CByteView(bytes));
    if (!checked)
        return {};
    HeaderFacts facts;
    constexpr std::uint8_t kUntrue = format::kHeaderBadPartialCrc | format::kHeaderBadFullCrc;
    if ((checked->faults & kUntrue) == 0 && checked->header.nodeTree.bid != 0)
        facts.root = checked->header.nodeTree;
    if (checked->header.cryptMethod < format::kCryptMethods.size())
        facts.method = static_cast<format::CryptMethod>(checked->header.cryptMethod);
    if (checked->faults == format::kHeaderSound)
        facts.statedSize = checked->header.fileSize;
    return facts;
}

}  // namespace

bool ScanSource(CScannedSource& source, const std::function<bool(std::uint64_t)>& proceed)
{
    const format::VariantLayout& layout = source.Layout();
    CFindings findings(source);
    const bool complete = ScanWindows(
        source.file, 0, [&layout](const ScanWindow& window) { return FindPlaces(layout, window); },
        [&](std::vector<FoundPlace> found, const ScanWindow& window) {
            findings.Take(std::move(found), window.start + window.transferred);
            return window.ProceedThrough(kBytesBetweenAsking, proceed);
        });
    if (!complete)
        return false;
    const auto proceedAtEnd = [&] { return proceed(source.file.Size()); };
    if (!AddDamagedBlocks(source.file, layout, findings.Finish(), source.blocks, proceedAtEnd))
        return false;
    const HeaderFacts header = ReadHeader(source);
    CVersionChoice choice(source.file, layout, source.nodes);
    if (!choice.Decide(header.root, proceedAtEnd))
        return false;
    source.damagedNodePages = choice.DamagedPages();
    source.statedSize = header.statedSize;
    source.nodes.Finish();
    source.method = ChooseCryptMethod(source, header.method);
    return true;
}

}  // namespace pastille::store::complete
