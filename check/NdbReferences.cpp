#include "check/NdbReferences.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "format/Ids.h"

namespace pastille::check {
namespace {

using Kind = BlockRecord::Kind;

bool IsDataKind(Kind kind)
{
    return kind == Kind::Data || kind == Kind::DataTree || kind == Kind::DataTreeRoot;
}

bool IsSubnodeKind(Kind kind)
{
    return kind == Kind::SubnodeLeaf || kind == Kind::SubnodeIndex;
}

}  // namespace

CReferenceCheck::CReferenceCheck(const NdbFile& file, CBlockTable& blocks, BlockReader read)
    : m_file(file), m_blocks(blocks), m_read(std::move(read))
{
}

void CReferenceCheck::Run(std::span<const CDatabase::Node> nodes, bool isWhole)
{
    m_hasAllBlocks = isWhole;
    for (BlockRecord& block : m_blocks.All())
        if (block.IsInternal())
            Classify(block);
    VisitOf(Kind::DataTree, [this](BlockRecord& block) { CheckDataTree(block); });
    VisitOf(Kind::DataTreeRoot, [this](BlockRecord& block) { CheckDataTreeRoot(block); });
    VisitOf(Kind::SubnodeLeaf, [this](BlockRecord& block) { CheckSubnodeLeaf(block); });
    VisitOf(Kind::SubnodeIndex, [this](BlockRecord& block) { CheckSubnodeIndex(block); });
    for (const CDatabase::Node& node : nodes) {
        NoteIndex(node.nid);
        CountData(NodePlace(node.nid), node.data);
        CountSubnodes(NodePlace(node.nid), node.sub);
    }
    FindCycles();
    CompareCounts(isWhole && m_isWhole);
}

template <class Visit>
void CReferenceCheck::VisitOf(Kind kind, Visit visit)
{
    for (BlockRecord& block : m_blocks.All())
        if (block.kind == kind)
            visit(block);
}

template <class View, class Check>
void CReferenceCheck::Parsed(const BlockRecord& block, Check check)
{
    const format::SharedBytes bytes = m_read(block.bid);
    if (!bytes)
        return;
    if (const auto view = View::Parse(*m_file.layout, format::CByteView(*bytes)))
        check(*view);
}

void CReferenceCheck::Classify(BlockRecord& block)
{
    block.kind = Kind::Unknown;
    const format::SharedBytes bytes = m_read(block.bid);
    if (!bytes) {
        m_isWhole = false;
        return;
    }
    const format::CByteView view(*bytes);
    const bool isSubnode = view.ReadOrZero<std::uint8_t>(0) == format::kBlockTypeSubnode;
    std::optional<format::Fault> fault;
    if (isSubnode) {
        if (const auto parsed = format::CSubnodeBlock::Parse(*m_file.layout, view))
            block.kind = parsed->Level() == 0 ? Kind::SubnodeLeaf : Kind::SubnodeIndex;
        else
            fault = parsed.GetFault();
    } else {
        if (const auto parsed = format::CDataTreeBlock::Parse(*m_file.layout, view))
            block.kind = parsed->Level() == 1 ? Kind::DataTree : Kind::DataTreeRoot;
        else
            fault = parsed.GetFault();
    }
    if (fault) {
        m_isWhole = false;
        m_file.findings.Add(rules::kInternalBlock, BlockPlace(block.bid),
                            std::string(fault->field) + ' ' + Hex(fault->value));
    }
}

BlockRecord* CReferenceCheck::Count(const std::string& from, std::uint64_t bid)
{
    BlockRecord* block = m_blocks.Find(bid);
    if (block != nullptr)
        ++block->counted;
    else if (m_hasAllBlocks && m_missing.insert(bid).second)
        m_file.findings.Add(rules::kReferenceMissing, from, "BID " + Hex(bid));
    return block;
}

void CReferenceCheck::NoteKind(const std::string& from, std::uint64_t bid)
{
    m_file.findings.Add(rules::kReferenceKind, from, BlockPlace(bid));
}

void CReferenceCheck::CountData(const std::string& from, std::uint64_t bid)
{
    if (bid == 0)
        return;
    const BlockRecord* block = Count(from, bid);
    if (block != nullptr && block->kind != Kind::Unknown && !IsDataKind(block->kind))
        NoteKind(from, bid);
}

void CReferenceCheck::CountSubnodes(const std::string& from, std::uint64_t bid)
{
    if (bid == 0)
        return;
    const BlockRecord* block = Count(from, bid);
    if (block != nullptr && block->kind != Kind::Unknown && !IsSubnodeKind(block->kind))
        NoteKind(from, bid);
}

void CReferenceCheck::NoteIndex(std::uint32_t nid)
{
    const format::Nid id{nid};
    std::uint32_t& highest = m_indexes[static_cast<std::size_t>(id.Type())];
    highest = std::max(highest, id.Index());
}

void CReferenceCheck::CheckDataTree(BlockRecord& block)
{
    Parsed<format::CDataTreeBlock>(block, [&](const format::CDataTreeBlock& tree) {
        const std::string place = BlockPlace(block.bid);
        block.total = tree.TotalSize();
        if (tree.Count() == 0)
            m_file.findings.Add(rules::kDataTreeCount, place);
        std::uint64_t total = 0;
        std::size_t full = m_file.Is4k() ? 0 : m_file.layout->largestBlock;
        bool isFull = true;
        bool isKnown = true;
        for (std::size_t i = 0; i < tree.Count(); ++i) {
            const BlockRecord* child = Count(place, tree.ChildAt(i));
            if (child == nullptr || child->IsInternal() || !child->isPlaced) {
                if (child != nullptr && child->IsInternal())
                    NoteKind(place, child->bid);
                isKnown = false;
                continue;
            }
            // Pages of 4 KB leave the size to the writer; it is that of the first block.
            full = full == 0 ? child->inflatedSize : full;
            total += child->inflatedSize;
            if (!isFull)
                m_file.findings.Add(rules::kDataTreeFull, place, "entry " + std::to_string(i - 1));
            isFull = child->inflatedSize == full;
        }
        block.isTailFull = isFull;
        if (isKnown && total != tree.TotalSize())
            m_file.findings.Add(rules::kDataTreeTotal, place,
                                std::to_string(tree.TotalSize()) + " instead of " + std::to_string(total));
    });
}

void CReferenceCheck::CheckDataTreeRoot(const BlockRecord& block)
{
    Parsed<format::CDataTreeBlock>(block, [&](const format::CDataTreeBlock& tree) {
        const std::string place = BlockPlace(block.bid);
        if (tree.Count() == 0)
            m_file.findings.Add(rules::kDataTreeCount, place);
        std::uint64_t total = 0;
        bool isKnown = true;
        for (std::size_t i = 0; i < tree.Count(); ++i) {
            const BlockRecord* child = Count(place, tree.ChildAt(i));
            if (child == nullptr || child->kind != Kind::DataTree) {
                if (child != nullptr && child->kind != Kind::Unknown)
                    NoteKind(place, child->bid);
                isKnown = false;
                continue;
            }
            total += child->total;
            if (i + 1 < tree.Count() && !child->isTailFull)
                m_file.findings.Add(rules::kDataTreeFull, place,
                                    "last block below " + BlockPlace(child->bid));
        }
        if (isKnown && total != tree.TotalSize())
            m_file.findings.Add(rules::kDataTreeTotal, place,
                                std::to_string(tree.TotalSize()) + " instead of " + std::to_string(total));
    });
}

void CReferenceCheck::CheckSubnodeLeaf(const BlockRecord& block)
{
    Parsed<format::CSubnodeBlock>(block, [&](const format::CSubnodeBlock& leaf) {
        const std::string place = BlockPlace(block.bid);
        if (leaf.Count() == 0)
            m_file.findings.Add(rules::kSubnodeCount, place);
        bool isNoted = false;
        std::optional<std::uint32_t> last;
        for (std::size_t i = 0; i < leaf.Count(); ++i) {
            const format::SubnodeLeafEntry entry = leaf.LeafAt(i);
            const auto nid = static_cast<std::uint32_t>(entry.nid);
            if (last && nid <= *last && !std::exchange(isNoted, true))
                m_file.findings.Add(rules::kSubnodeOrder, place, Hex(nid) + " behind " + Hex(*last));
            last = nid;
            NoteIndex(nid);
            const std::string from = place + ", subnode " + Hex(nid);
            CountData(from, entry.bidData);
            CountSubnodes(from, entry.bidSub);
        }
    });
}

void CReferenceCheck::CheckSubnodeIndex(const BlockRecord& block)
{
    Parsed<format::CSubnodeBlock>(block, [&](const format::CSubnodeBlock& index) {
        const std::string place = BlockPlace(block.bid);
        if (index.Count() == 0)
            m_file.findings.Add(rules::kSubnodeCount, place);
        std::optional<std::uint32_t> last;
        for (std::size_t i = 0; i < index.Count(); ++i) {
            const format::SubnodeIndexEntry entry = index.ChildAt(i);
            const BlockRecord* child = Count(place, entry.bid);
            if (child == nullptr || child->kind != Kind::SubnodeLeaf) {
                if (child != nullptr && child->kind != Kind::Unknown)
                    NoteKind(place, child->bid);
                continue;
            }
            Parsed<format::CSubnodeBlock>(*child, [&](const format::CSubnodeBlock& leaf) {
                if (leaf.Count() == 0)
                    return;
                const auto first = static_cast<std::uint32_t>(leaf.LeafAt(0).nid);
                if (first != static_cast<std::uint32_t>(entry.nid))
                    m_file.findings.Add(rules::kSubnodeKey, place,
                                        Hex(entry.nid) + " instead of " + Hex(first));
                if (last && first <= *last)
                    m_file.findings.Add(rules::kSubnodeOrder, place, Hex(first) + " behind " + Hex(*last));
                last = static_cast<std::uint32_t>(leaf.LeafAt(leaf.Count() - 1).nid);
            });
        }
    });
}

std::vector<std::uint32_t> CReferenceCheck::SubnodeBlocksBelow(const BlockRecord& block)
{
    std::vector<std::uint32_t> below;
    Parsed<format::CSubnodeBlock>(block, [&](const format::CSubnodeBlock& parsed) {
        for (std::size_t i = 0; i < parsed.Count(); ++i) {
            const std::uint64_t bid = parsed.Level() == 0 ? parsed.LeafAt(i).bidSub : parsed.ChildAt(i).bid;
            const BlockRecord* child = bid == 0 ? nullptr : m_blocks.Find(bid);
            if (child != nullptr && IsSubnodeKind(child->kind))
                below.push_back(static_cast<std::uint32_t>(child - m_blocks.All().data()));
        }
    });
    return below;
}

/// Takes away, again and again, the blocks that no other subnode block leads to. What is left leads in a
/// circle.
void CReferenceCheck::FindCycles()
{
    std::vector<BlockRecord>& blocks = m_blocks.All();
    std::vector<std::uint32_t> above(blocks.size());
    std::vector<std::uint32_t> free;
    for (const BlockRecord& block : blocks)
        if (IsSubnodeKind(block.kind))
            for (const std::uint32_t child : SubnodeBlocksBelow(block))
                ++above[child];
    std::size_t left = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (!IsSubnodeKind(blocks[i].kind))
            continue;
        ++left;
        blocks[i].isLooped = true;
        if (above[i] == 0)
            free.push_back(static_cast<std::uint32_t>(i));
    }
    while (!free.empty()) {
        BlockRecord& block = blocks[free.back()];
        free.pop_back();
        block.isLooped = false;
        --left;
        for (const std::uint32_t child : SubnodeBlocksBelow(block))
            if (--above[child] == 0)
                free.push_back(child);
    }
    if (left == 0)
        return;
    const auto first = std::ranges::find_if(blocks, [](const BlockRecord& block) { return block.isLooped; });
    m_file.findings.Add(rules::kSubnodeCycle, BlockPlace(first->bid), std::to_string(left) + " blocks");
}

void CReferenceCheck::CompareCounts(bool isWhole)
{
    for (const BlockRecord& block : m_blocks.All()) {
        const std::uint64_t wanted = std::uint64_t{block.counted} + 1;
        if (block.references == wanted && block.counted != 0)
            continue;
        // What could not be read may hold the references that are missing.
        if (!isWhole && block.references >= wanted)
            continue;
        const bool isLeft = block.counted == 0 && block.references <= 1;
        m_file.findings.Add(
            isLeft ? rules::kBlockUnreferenced : rules::kBlockReferences, BlockPlace(block.bid),
            "cRef " + std::to_string(block.references) + " instead of " + std::to_string(wanted));
    }
}

}  // namespace pastille::check
