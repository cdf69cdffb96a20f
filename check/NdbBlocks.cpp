#include "check/NdbBlocks.h"

#include <algorithm>
#include <future>
#include <numeric>
#include <utility>

#include "format/Block.h"
#include "format/Crypt.h"
#include "format/UnpackBlock.h"

namespace pastille::check {
namespace {

using Order = std::span<const std::uint32_t>;

/// Blocks are read in stretches of about this size.
constexpr std::uint64_t kWindowBytes = std::uint64_t{4} << 20;
/// Space between two blocks that is read over rather than skipped.
constexpr std::uint64_t kWidestGap = std::uint64_t{64} << 10;
/// Below this a second thread costs more than it brings.
constexpr std::size_t kFewBlocks = 64;

struct Note {
    const Rule* rule;
    std::string place;
    std::string detail;
};

void CheckPlace(const NdbFile& file, BlockRecord& block)
{
    const std::string entry = "ib " + Hex(block.offset) + ", cb " + std::to_string(block.size);
    if (block.size == 0 || block.size > file.layout->largestBlock || block.inflatedSize == 0)
        file.findings.Add(rules::kBlockSize, BlockPlace(block.bid), entry);
    else if (block.offset % file.layout->blockAlignment != 0 ||
             !file.Holds(block.offset, format::BlockExtent(*file.layout, block.size)))
        file.findings.Add(rules::kBlockPlace, BlockPlace(block.bid), entry);
    else
        block.isPlaced = true;
}

std::string TrailerDetail(const format::CheckedBlockTrailer& checked, const BlockRecord& block)
{
    std::string wrong;
    const auto add = [&](std::uint8_t fault, const std::string& text) {
        if ((checked.faults & fault) != 0)
            wrong += (wrong.empty() ? "" : ", ") + text;
    };
    add(format::kBlockBadBid, "bid " + Hex(checked.trailer.bid));
    add(format::kBlockBadSize,
        "cb " + std::to_string(checked.trailer.size) + " instead of " + std::to_string(block.size));
    add(format::kBlockBadSignature, "wSig " + Hex(checked.trailer.signature));
    add(format::kBlockBadCrc, "dwCRC " + Hex(checked.trailer.crc));
    return wrong + " at " + Hex(block.offset);
}

/// The rule that a trailer breaks; the fields that say most about the block come first.
const Rule* BrokenRule(const format::CheckedBlockTrailer& checked, const BlockRecord& block)
{
    if ((checked.faults & format::kBlockBadBid) != 0)
        return &rules::kBlockTrailerBid;
    if ((checked.faults & format::kBlockBadSize) != 0 || checked.trailer.inflatedSize != block.inflatedSize)
        return &rules::kBlockTrailerSize;
    if ((checked.faults & format::kBlockBadSignature) != 0)
        return &rules::kBlockSignature;
    return (checked.faults & format::kBlockBadCrc) != 0 ? &rules::kBlockCrc : nullptr;
}

void CheckBlock(const NdbFile& file, BlockRecord& block, std::span<const std::byte> extent,
                std::vector<Note>& notes)
{
    const auto checked = format::ParseBlockTrailer(*file.layout, format::CByteView(extent), block.size,
                                                   block.offset, block.bid);
    if (!checked)
        return;
    if (const Rule* broken = BrokenRule(*checked, block)) {
        notes.push_back({broken, BlockPlace(block.bid), TrailerDetail(*checked, block)});
        return;
    }
    const auto padding =
        extent.subspan(block.size, extent.size() - block.size - file.layout->blockTrailerSize);
    if (std::ranges::any_of(padding, [](std::byte b) { return b != std::byte{0}; }))
        notes.push_back({&rules::kBlockPadding, BlockPlace(block.bid), "at " + Hex(block.offset)});
    if (block.size != block.inflatedSize) {
        std::vector<std::byte> bytes(extent.begin(), extent.begin() + block.size);
        if (!UnpackBlock(file, block, bytes)) {
            notes.push_back({&rules::kBlockInflate, BlockPlace(block.bid), "at " + Hex(block.offset)});
            return;
        }
    }
    block.isSound = true;
}

class CBlockPass {
public:
    CBlockPass(const NdbFile& file, std::vector<BlockRecord>& blocks) : m_file(file), m_blocks(blocks) {}

    void Run(Order order)
    {
        while (!order.empty()) {
            const std::size_t count = WindowCount(order);
            ReadWindow(order.first(count));
            CheckWindow(order.first(count));
            order = order.subspan(count);
        }
    }

private:
    std::uint64_t EndOf(const BlockRecord& block) const
    {
        return block.offset + format::BlockExtent(*m_file.layout, block.size);
    }

    std::size_t WindowCount(Order order) const
    {
        const std::uint64_t start = m_blocks[order[0]].offset;
        std::uint64_t end = EndOf(m_blocks[order[0]]);
        std::size_t count = 1;
        for (; count < order.size(); ++count) {
            const BlockRecord& next = m_blocks[order[count]];
            if (EndOf(next) - start > kWindowBytes || next.offset > end + kWidestGap)
                break;
            end = std::max(end, EndOf(next));
        }
        return count;
    }

    void ReadWindow(Order order)
    {
        m_start = m_blocks[order[0]].offset;
        std::uint64_t end = m_start;
        for (const std::uint32_t index : order)
            end = std::max(end, EndOf(m_blocks[index]));
        m_window.resize(static_cast<std::size_t>(end - m_start));
        m_readable = m_file.source.ReadAt(m_start, m_window);
    }

    void CheckWindow(Order order)
    {
        if (m_readable < m_window.size()) {
            CheckOneByOne(order);
            return;
        }
        std::vector<Note> notes;
        if (order.size() < kFewBlocks) {
            CheckRange(order, notes);
        } else {
            const std::size_t half = order.size() / 2;
            std::vector<Note> later;
            auto second = std::async(std::launch::async, [&] { CheckRange(order.subspan(half), later); });
            CheckRange(order.first(half), notes);
            second.get();
            std::ranges::move(later, std::back_inserter(notes));
        }
        Add(notes);
    }

    void CheckRange(Order order, std::vector<Note>& notes) const
    {
        for (const std::uint32_t index : order) {
            BlockRecord& block = m_blocks[index];
            const auto offset = static_cast<std::size_t>(block.offset - m_start);
            CheckBlock(
                m_file, block,
                std::span(m_window).subspan(offset, static_cast<std::size_t>(EndOf(block) - block.offset)),
                notes);
        }
    }

    /// Where a stretch cannot be read in one piece, the blocks before and behind the bad place can.
    void CheckOneByOne(Order order)
    {
        std::vector<Note> notes;
        std::vector<std::byte> extent;
        for (const std::uint32_t index : order) {
            BlockRecord& block = m_blocks[index];
            extent.resize(static_cast<std::size_t>(EndOf(block) - block.offset));
            if (m_file.Read(block.offset, extent))
                CheckBlock(m_file, block, extent, notes);
            else
                notes.push_back({&rules::kBlockUnreadable, BlockPlace(block.bid), "at " + Hex(block.offset)});
        }
        Add(notes);
    }

    void Add(std::vector<Note>& notes) const
    {
        for (Note& note : notes)
            m_file.findings.Add(*note.rule, std::move(note.place), std::move(note.detail));
    }

    const NdbFile& m_file;
    std::vector<BlockRecord>& m_blocks;
    std::vector<std::byte> m_window;
    std::uint64_t m_start = 0;
    std::size_t m_readable = 0;
};

/// Of blocks that lie upon others only so many are looked at as the file has bytes: a file must not make the
/// work grow beyond what it holds. That they overlap is a finding of its own.
void LeaveOutPiles(const NdbFile& file, const CBlockTable& blocks, std::vector<std::uint32_t>& order)
{
    std::uint64_t end = 0;
    std::uint64_t overlapping = 0;
    std::erase_if(order, [&](std::uint32_t index) {
        const BlockRecord& block = blocks.All()[index];
        const std::uint64_t extent = format::BlockExtent(*file.layout, block.size);
        const bool isOverlapping = block.offset < end;
        overlapping += isOverlapping ? extent : 0;
        end = std::max(end, block.offset + extent);
        return isOverlapping && overlapping > file.end;
    });
}

}  // namespace

void CheckBlocks(const NdbFile& file, CBlockTable& blocks)
{
    std::vector<std::uint32_t> order;
    order.reserve(blocks.Count());
    for (std::size_t i = 0; i < blocks.Count(); ++i) {
        BlockRecord& block = blocks.All()[i];
        CheckPlace(file, block);
        if (block.isPlaced)
            order.push_back(static_cast<std::uint32_t>(i));
    }
    std::ranges::sort(order, {}, [&](std::uint32_t index) { return blocks.All()[index].offset; });
    LeaveOutPiles(file, blocks, order);
    CBlockPass(file, blocks.All()).Run(order);
}

bool UnpackBlock(const NdbFile& file, const BlockRecord& block, std::vector<std::byte>& stored)
{
    return format::UnpackBlock(*file.layout, static_cast<format::CryptMethod>(file.header.cryptMethod),
                               block.bid, block.inflatedSize, stored);
}

}  // namespace pastille::check
