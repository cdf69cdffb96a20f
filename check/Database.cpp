#include "check/Database.h"

#include <algorithm>
#include <array>
#include <utility>

#include "check/NdbBlocks.h"
#include "check/NdbFile.h"
#include "check/NdbMaps.h"
#include "check/NdbReferences.h"
#include "check/NdbTree.h"
#include "format/Block.h"

namespace pastille::check {
namespace {

/// Blocks that are kept decoded: tables and templates that many nodes share, and trees walked more than once.
constexpr std::size_t kKeptBlocks = 64;

}  // namespace

struct CDatabase::State {
    State(platform::IByteSource& source, IFindings& findings) : file{source, findings} {}

    bool ReadTrees();
    void CheckCounters(const NodeIndexes& indexes) const;

    NdbFile file;
    std::vector<PageUse> pages;
    CBlockTable blocks;
    std::vector<Node> nodes;
    bool hasAllNodes = false;
    bool hasAllBlocks = false;

    struct KeptBlock {
        std::uint64_t bid = 0;
        format::SharedBytes bytes;
    };
    std::array<KeptBlock, kKeptBlocks> kept;
};

CDatabase::CDatabase(platform::IByteSource& source, IFindings& findings)
    : m_state(std::make_unique<State>(source, findings))
{
}

CDatabase::~CDatabase() = default;

bool CDatabase::State::ReadTrees()
{
    CTreeWalk nodeWalk(file, format::PageType::NodeTree, pages, [this](const format::CTreePage& page) {
        for (std::size_t i = 0; i < page.Count(); ++i) {
            const format::NodeEntry entry = page.NodeAt(i);
            nodes.push_back(
                {static_cast<std::uint32_t>(entry.nid), entry.nidParent, entry.bidData, entry.bidSub});
        }
    });
    CTreeWalk blockWalk(file, format::PageType::BlockTree, pages, [this](const format::CTreePage& page) {
        for (std::size_t i = 0; i < page.Count(); ++i) {
            const format::BlockEntry entry = page.BlockAt(i);
            if ((entry.reference.bid & 1) != 0)
                file.findings.Add(rules::kBlockBid, BlockPlace(entry.reference.bid));
            blocks.Add(entry);
        }
    });
    const bool hasNodes = nodeWalk.Run(file.header.nodeTree);
    const bool hasBlocks = blockWalk.Run(file.header.blockTree);
    hasAllNodes = nodeWalk.IsComplete();
    hasAllBlocks = blockWalk.IsComplete();
    std::ranges::stable_sort(nodes, {}, &Node::nid);
    const auto isSame = [](const Node& a, const Node& b) { return a.nid == b.nid; };
    nodes.erase(std::unique(nodes.begin(), nodes.end(), isSame), nodes.end());
    blocks.Close();
    return hasNodes && hasBlocks;
}

bool CDatabase::Open()
{
    if (!ReadHeader(m_state->file) || !m_state->ReadTrees())
        return false;
    CheckBlocks(m_state->file, m_state->blocks);
    return true;
}

const format::VariantLayout& CDatabase::Layout() const
{
    return *m_state->file.layout;
}

const format::FileHeader& CDatabase::Header() const
{
    return m_state->file.header;
}

std::span<const CDatabase::Node> CDatabase::Nodes() const
{
    return m_state->nodes;
}

bool CDatabase::HasAllNodes() const
{
    return m_state->hasAllNodes;
}

const CDatabase::Node* CDatabase::FindNode(std::uint32_t nid) const
{
    const auto at = std::ranges::lower_bound(m_state->nodes, nid, {}, &Node::nid);
    return at != m_state->nodes.end() && at->nid == nid ? &*at : nullptr;
}

format::SharedBytes CDatabase::ReadBlock(std::uint64_t bid)
{
    const BlockRecord* block = m_state->blocks.Find(bid);
    if (block == nullptr || !block->isSound)
        return nullptr;
    State::KeptBlock& kept = m_state->kept[static_cast<std::size_t>(block->bid / 4 % kKeptBlocks)];
    if (kept.bytes && kept.bid == block->bid)
        return kept.bytes;
    std::vector<std::byte> stored(block->size);
    if (!m_state->file.Read(block->offset, stored))
        return nullptr;
    if (!UnpackBlock(m_state->file, *block, stored))
        return nullptr;
    kept = {block->bid, std::make_shared<const std::vector<std::byte>>(std::move(stored))};
    return kept.bytes;
}

namespace {

/// Appends the children of a data tree's block. False when it is not there or not of that level.
bool AddChildren(CDatabase& database, std::uint64_t bid, unsigned level, std::vector<std::uint64_t>& children)
{
    const format::SharedBytes bytes = database.ReadBlock(bid);
    if (!bytes)
        return false;
    const auto tree = format::CDataTreeBlock::Parse(database.Layout(), format::CByteView(*bytes));
    if (!tree || tree->Level() != level)
        return false;
    for (std::size_t i = 0; i < tree->Count(); ++i)
        children.push_back(tree->ChildAt(i));
    return true;
}

}  // namespace

std::optional<CDatabase::CDataTree> CDatabase::OpenData(std::uint64_t bid)
{
    if (bid == 0)
        return CDataTree(*this, {}, 0);
    CBlockTable& table = m_state->blocks;
    std::vector<std::uint64_t> leaves;
    const BlockRecord* root = table.Find(bid);
    if (root == nullptr)
        return std::nullopt;
    if (!root->IsInternal()) {
        leaves.push_back(bid);
    } else if (!AddChildren(*this, bid, 1, leaves)) {
        std::vector<std::uint64_t> trees;
        if (!AddChildren(*this, bid, 2, trees))
            return std::nullopt;
        for (const std::uint64_t tree : trees) {
            // No tree has more blocks than the store; entries that repeat themselves must not fill the
            // memory.
            if (leaves.size() > table.Count() || !AddChildren(*this, tree, 1, leaves))
                return std::nullopt;
        }
    }
    std::uint64_t size = 0;
    for (const std::uint64_t leaf : leaves) {
        const BlockRecord* block = table.Find(leaf);
        if (block == nullptr || block->IsInternal() || !block->isSound)
            return std::nullopt;
        size += block->inflatedSize;
    }
    return CDataTree(*this, std::move(leaves), size);
}

std::vector<CDatabase::Subnode> CDatabase::Subnodes(std::uint64_t bidSub)
{
    std::vector<Subnode> subnodes;
    const auto addLeaf = [&](const format::CSubnodeBlock& leaf) {
        for (std::size_t i = 0; i < leaf.Count(); ++i) {
            const format::SubnodeLeafEntry entry = leaf.LeafAt(i);
            subnodes.push_back({static_cast<std::uint32_t>(entry.nid), entry.bidData, entry.bidSub});
        }
    };
    const BlockRecord* record = m_state->blocks.Find(bidSub);
    const format::SharedBytes bytes = record == nullptr || record->isLooped ? nullptr : ReadBlock(bidSub);
    if (!bytes)
        return subnodes;
    const auto root = format::CSubnodeBlock::Parse(Layout(), format::CByteView(*bytes));
    if (root && root->Level() == 0)
        addLeaf(*root);
    for (std::size_t i = 0; root && root->Level() == 1 && i < root->Count(); ++i) {
        const format::SharedBytes childBytes = ReadBlock(root->ChildAt(i).bid);
        if (!childBytes)
            continue;
        const auto child = format::CSubnodeBlock::Parse(Layout(), format::CByteView(*childBytes));
        if (child && child->Level() == 0)
            addLeaf(*child);
    }
    std::ranges::stable_sort(subnodes, {}, &Subnode::nid);
    const auto isSame = [](const Subnode& a, const Subnode& b) { return a.nid == b.nid; };
    subnodes.erase(std::unique(subnodes.begin(), subnodes.end(), isSame), subnodes.end());
    return subnodes;
}

void CDatabase::State::CheckCounters(const NodeIndexes& indexes) const
{
    const std::uint64_t highestBlock = blocks.Count() == 0 ? 0 : blocks.All().back().bid;
    std::uint64_t highestPage = 0;
    for (const PageUse& page : pages)
        highestPage = std::max(highestPage, page.bid);
    const auto note = [&](const Rule& rule, std::uint64_t counter, std::uint64_t highest) {
        file.findings.Add(rule, "header", Hex(counter) + ", highest in use " + Hex(highest));
    };
    if (file.header.nextBlockBid <= highestBlock || file.header.nextBlockBid % 4 != 0)
        note(rules::kNextBlockBid, file.header.nextBlockBid, highestBlock);
    if (file.header.nextPageBid <= highestPage)
        note(rules::kNextPageBid, file.header.nextPageBid, highestPage);
    constexpr std::uint32_t kFirstUserIndex = 0x400;
    for (std::size_t type = 0; type < indexes.size(); ++type)
        if (indexes[type] >= kFirstUserIndex && indexes[type] > file.header.lastNodeIndex[type])
            file.findings.Add(rules::kNodeIndex, "header",
                              "type " + Hex(type) + ": " + Hex(file.header.lastNodeIndex[type]) +
                                  ", highest in use " + Hex(indexes[type]));
}

void CDatabase::CheckReferences()
{
    State& state = *m_state;
    const bool isWhole = state.hasAllNodes && state.hasAllBlocks;
    CReferenceCheck references(state.file, state.blocks,
                               [this](std::uint64_t bid) { return ReadBlock(bid); });
    references.Run(state.nodes, isWhole);
    state.CheckCounters(references.Indexes());
    CheckMaps(state.file, state.pages, state.blocks, isWhole);
}

}  // namespace pastille::check
