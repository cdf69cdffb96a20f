#include <algorithm>
#include <array>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "component/pst/ndb/MapPages.h"
#include "component/pst/ndb/NdbWriter.h"
#include "component/pst/ndb/NewStoreLayout.h"
#include "component/pst/ndb/StoreCompletion.h"
#include "format/Page.h"

namespace pastille::component::pst {
namespace {

template <class Number>
void SortOnce(std::vector<Number>& numbers)
{
    std::ranges::sort(numbers);
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
}

}  // namespace

/// The maps of a completed store no longer hold once something is added: its header has to say so first.
void CNdbWriter::BeginChanges()
{
    if (!m_onDisk || m_onDisk->amapValid == format::amapvalid::kInvalid)
        return;
    m_onDisk->amapValid = format::amapvalid::kInvalid;
    WriteHeaderTo(m_file, *m_onDisk);
}

format::BlockReference CNdbWriter::StorePage(format::PageType tree, std::span<std::byte> page, unsigned level,
                                             std::size_t count)
{
    const std::uint64_t end = m_plan.End();
    const format::BlockReference place{m_header.nextPageBid++, m_plan.TakePage()};
    format::EncodeTreePage(kLayout, page, tree, level, count, place.offset, place.bid);
    if (place.offset >= end)
        m_output.AddBytes(place.offset, page);
    else
        m_output.Overwrite(place.offset, page);
    return place;
}

void CNdbWriter::UpdateBlockTree()
{
    SortOnce(m_changedBlocks);
    std::vector<std::uint64_t> changed;
    for (const std::uint32_t number : m_changedBlocks) {
        Block& block = m_blocks[number - 1];
        if (std::exchange(block.written, block.references) != block.references)
            changed.push_back(BidOf(number).value);
    }
    m_changedBlocks.clear();
    const auto entries = [this](std::uint64_t first, std::uint64_t end, const CTreeImage::EntrySink& add) {
        std::uint64_t number = std::max<std::uint64_t>(first / kBidStep, 1);
        for (; number <= m_blocks.size(); ++number) {
            const Block& block = m_blocks[number - 1];
            const std::uint64_t bid = BidOf(static_cast<std::uint32_t>(number)).value;
            if (bid >= end)
                break;
            if (bid < first || block.references == 0)
                continue;
            const auto size = static_cast<std::uint16_t>(block.Size());
            const auto references = static_cast<std::uint16_t>(block.references + 1);
            format::EncodeBlockEntry(kLayout, {{bid, block.Offset()}, size, size, references}, add(bid));
        }
    };
    m_blockTree.Update(
        changed, entries,
        [this](std::span<std::byte> page, unsigned level, std::size_t count) {
            return StorePage(format::PageType::BlockTree, page, level, count);
        },
        m_supersededPages);
}

void CNdbWriter::UpdateNodeTree()
{
    SortOnce(m_changedNodes);
    const auto entries = [this](std::uint64_t first, std::uint64_t end, const CTreeImage::EntrySink& add) {
        m_nodes.VisitRange(first, end, [&](const Node& node) {
            const NodeRecord record = RecordOf(node);
            format::EncodeNodeEntry(
                kLayout, {record.nid.value, record.data.value, record.sub.value, record.parent.value},
                add(record.nid.value));
        });
    };
    m_nodeTree.Update(
        m_changedNodes, entries,
        [this](std::span<std::byte> page, unsigned level, std::size_t count) {
            return StorePage(format::PageType::NodeTree, page, level, count);
        },
        m_supersededPages);
    m_changedNodes.clear();
}

/// Writes what the next header will name, all but the maps.
void CNdbWriter::WriteTrees()
{
    BeginChanges();
    m_output.Flush();
    UpdateBlockTree();
    UpdateNodeTree();
    m_output.Flush();
    m_file.SetSize(m_plan.FileSize());
}

std::uint64_t CNdbWriter::WriteMaps()
{
    std::vector<std::uint64_t> pages;
    m_blockTree.AppendPlaces(pages);
    m_nodeTree.AppendPlaces(pages);
    std::ranges::sort(pages);
    CMapPageWriter maps(m_file, m_plan.SectionCount());
    auto page = pages.begin();
    const auto addPagesBefore = [&](std::uint64_t offset) {
        for (; page != pages.end() && *page < offset; ++page)
            maps.Add(*page, kPageBytes);
    };
    for (const Block& block : m_blocks) {
        if (block.references == 0)
            continue;
        addPagesBefore(block.Offset());
        maps.Add(block.Offset(), format::BlockExtent(kLayout, block.Size()));
    }
    addPagesBefore(std::numeric_limits<std::uint64_t>::max());
    return maps.Finish(m_header.nextPageBid);
}

/// Names what has been written; from here on it is the store.
void CNdbWriter::WriteHeader(std::uint8_t amapValid)
{
    m_file.Sync();
    m_header.blockTree = m_blockTree.Root();
    m_header.nodeTree = m_nodeTree.Root();
    m_header.nextBlockBid = (m_blocks.size() + 1) * kBidStep;
    m_header.fileSize = m_plan.FileSize();
    m_header.lastAMapOffset = m_plan.LastAMapOffset();
    m_header.amapValid = amapValid;
    ++m_header.unique;
    WriteHeaderTo(m_file, m_header);
    m_onDisk = m_header;
    // Nothing on disk names them any more.
    for (const std::uint64_t offset : std::exchange(m_supersededPages, {}))
        m_plan.ReusePage(offset);
}

void CNdbWriter::Checkpoint()
{
    if (m_nodes.Size() == 0)
        throw std::logic_error("a store has at least one node");
    Guard([&] {
        WriteTrees();
        WriteHeader(format::amapvalid::kInvalid);
    });
}

void CNdbWriter::Commit()
{
    if (m_nodes.Size() == 0)
        throw std::logic_error("a store has at least one node");
    Guard([&] {
        WriteTrees();
        m_header.freeBytes = WriteMaps();
        WriteHeader(format::amapvalid::kValid);
        // Programs that look for lost items in free space would take old pages for the way to some.
        const std::array<std::byte, kPageBytes> zeros{};
        for (const std::uint64_t offset : m_plan.FreePages())
            m_output.Overwrite(offset, zeros);
    });
}

bool CNdbWriter::CompleteAfterFailure() noexcept
{
    try {
        m_output.Stop();
        if (!m_onDisk)
            return false;
        // The header may be half written.
        WriteHeaderTo(m_file, *m_onDisk);
        return m_onDisk->amapValid == format::amapvalid::kValid || CompleteStore(m_file);
    } catch (...) {
        return false;
    }
}

}  // namespace pastille::component::pst
