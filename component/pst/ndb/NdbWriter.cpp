#include "component/pst/ndb/NdbWriter.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "component/pst/ndb/FormatError.h"
#include "component/pst/ndb/NewStoreLayout.h"
#include "format/Block.h"

namespace pastille::component::pst {
namespace {

constexpr std::uint64_t kInternalBit = 2;
/// In Block::sizeAndKind.
constexpr std::uint16_t kInternalKind = 0x8000;
/// The first index free for nodes that are not special; below it the counters take no part.
constexpr std::uint32_t kFirstUserIndex = 0x400;
/// Of one block: cRef has 16 bits and is one more than the references.
constexpr std::uint16_t kMostReferences = 65534;

/// The node types that share one index counter with a type; the type alone when it has its own.
std::vector<format::NidType> GroupOf(format::NidType type)
{
    using enum format::NidType;
    switch (type) {
        case NormalFolder:
        case HierarchyTable:
        case ContentsTable:
        case AssociatedContentsTable:
            return {NormalFolder, HierarchyTable, ContentsTable, AssociatedContentsTable};
        case SearchFolder:
        case SearchUpdateQueue:
        case SearchCriteria:
        case SearchContentsTable:
            return {SearchFolder, SearchUpdateQueue, SearchCriteria, SearchContentsTable};
        default:
            return {type};
    }
}

}  // namespace

CNdbWriter::CNdbWriter(platform::IFile& file, format::CryptMethod method)
    : m_file(file), m_output(file, method)
{
    m_header.cryptMethod = static_cast<std::uint8_t>(method);
    m_header.lastNodeIndex = format::InitialNodeIndexes();
    m_header.nextPageBid = 1;
    m_header.unique = 2;
}

CNdbWriter::Block& CNdbWriter::BlockOf(format::Bid bid)
{
    return const_cast<Block&>(std::as_const(*this).BlockOf(bid));
}

const CNdbWriter::Block& CNdbWriter::BlockOf(format::Bid bid) const
{
    const std::uint64_t number = bid.value / kBidStep;
    if (number == 0 || number > m_blocks.size() || m_blocks[number - 1].IsInternal() != bid.IsInternal())
        throw std::invalid_argument("no block of this store");
    return m_blocks[number - 1];
}

format::Bid CNdbWriter::AppendBlock(std::span<const std::byte> bytes, bool isInternal)
{
    if (bytes.empty() || bytes.size() > kLayout.largestBlock)
        throw std::length_error("a block has 1 to 8176 bytes");
    return Guard([&] {
        BeginChanges();
        const std::uint64_t offset = m_plan.TakeBlock(format::BlockExtent(kLayout, bytes.size()));
        const std::uint64_t unit = offset / format::kAllocationUnit;
        // BIDs have room for more; what a block's number and place have here are 274 GB and 4 billion blocks.
        if (unit > std::numeric_limits<std::uint32_t>::max() ||
            m_blocks.size() >= std::numeric_limits<std::uint32_t>::max())
            throw std::system_error(std::make_error_code(std::errc::file_too_large),
                                    "a store has less than 256 GiB");
        const auto size = static_cast<std::uint16_t>(bytes.size());
        m_blocks.push_back({static_cast<std::uint32_t>(unit),
                            static_cast<std::uint16_t>(isInternal ? size | kInternalKind : size), 0, 0});
        const format::Bid bid = BidOf(static_cast<std::uint32_t>(m_blocks.size()));
        m_output.AddBlock(offset, bid.value, isInternal, bytes);
        return bid;
    });
}

/// The BID of a block by its number, 0 for none.
format::Bid CNdbWriter::BidOf(std::uint32_t number) const
{
    if (number == 0)
        return {};
    return {number * kBidStep | (m_blocks[number - 1].IsInternal() ? kInternalBit : 0)};
}

NodeRecord CNdbWriter::RecordOf(const Node& node) const
{
    return {{node.nid}, BidOf(node.data), BidOf(node.sub), {node.parent}};
}

format::Bid CNdbWriter::AddDataBlock(std::span<const std::byte> bytes)
{
    return AppendBlock(bytes, false);
}
format::Bid CNdbWriter::AddInternalBlock(std::span<const std::byte> bytes)
{
    return AppendBlock(bytes, true);
}

format::SharedBytes CNdbWriter::ReadBlock(format::Bid bid)
{
    const Block& block = BlockOf(bid);
    if (auto cached = m_cache.Find(bid.value))
        return cached;
    std::vector<std::byte> bytes(block.Size());
    if (!m_output.ReadBlock(block.Offset(), bid.value, block.IsInternal(), bytes))
        throw std::system_error(std::make_error_code(std::errc::io_error), "a block that was written");
    auto shared = std::make_shared<const std::vector<std::byte>>(std::move(bytes));
    m_cache.Insert(bid.value, shared);
    return shared;
}

std::vector<format::Bid> CNdbWriter::ReferencesIn(format::Bid internalBlock)
{
    const format::SharedBytes bytes = ReadBlock(internalBlock);
    std::vector<format::Bid> references;
    const auto add = [&references](std::uint64_t bid) {
        if (bid != 0)
            references.push_back({bid});
    };
    if (format::LoadLE<std::uint8_t>(*bytes, 0) == format::kBlockTypeDataTree) {
        const auto tree = Require(format::CDataTreeBlock::Parse(kLayout, format::CByteView(*bytes)));
        for (std::size_t i = 0; i < tree.Count(); ++i)
            add(tree.ChildAt(i));
        return references;
    }
    const auto subnodes = Require(format::CSubnodeBlock::Parse(kLayout, format::CByteView(*bytes)));
    for (std::size_t i = 0; i < subnodes.Count(); ++i) {
        if (subnodes.Level() == 1) {
            add(subnodes.ChildAt(i).bid);
        } else {
            add(subnodes.LeafAt(i).bidData);
            add(subnodes.LeafAt(i).bidSub);
        }
    }
    return references;
}

/// Counts a reference to a block, or one less. Blocks that become or cease to be held take those below along.
void CNdbWriter::ChangeReferences(format::Bid root, References change)
{
    std::vector<format::Bid> pending;
    if (root.value != 0)
        pending.push_back(root);
    while (!pending.empty()) {
        const format::Bid bid = pending.back();
        pending.pop_back();
        Block& block = BlockOf(bid);
        m_changedBlocks.push_back(static_cast<std::uint32_t>(bid.value / kBidStep));
        if (change == References::OneMore) {
            if (block.references == kMostReferences)
                throw std::length_error("a block is referred to too often");
            if (block.references++ != 0)
                continue;
        } else {
            if (--block.references != 0)
                continue;
        }
        if (block.IsInternal())
            for (const format::Bid child : ReferencesIn(bid))
                pending.push_back(child);
    }
}

void CNdbWriter::RaiseIndex(format::Nid nid)
{
    if (nid.Index() < kFirstUserIndex)
        return;
    for (const format::NidType type : GroupOf(nid.Type())) {
        std::uint32_t& last = m_header.lastNodeIndex[static_cast<std::size_t>(type)];
        last = std::max(last, nid.Index());
    }
}

void CNdbWriter::PutNode(format::Nid nid, format::Bid data, format::Bid sub, format::Nid parent)
{
    if (data.value != 0)
        BlockOf(data);
    if (sub.value != 0)
        BlockOf(sub);
    Guard([&] {
        ChangeReferences(data, References::OneMore);
        ChangeReferences(sub, References::OneMore);
        RaiseIndex(nid);
        m_changedNodes.push_back(nid.value);
        const Node fresh{nid.value, parent.value, static_cast<std::uint32_t>(data.value / kBidStep),
                         static_cast<std::uint32_t>(sub.value / kBidStep)};
        Node* const known = m_nodes.Find(nid.value);
        if (known == nullptr) {
            m_nodes.Insert(fresh);
            return;
        }
        const Node old = std::exchange(*known, fresh);
        ChangeReferences(BidOf(old.data), References::OneLess);
        ChangeReferences(BidOf(old.sub), References::OneLess);
    });
}

bool CNdbWriter::RemoveNode(format::Nid nid)
{
    return Guard([&] {
        const Node* const known = m_nodes.Find(nid.value);
        if (known == nullptr)
            return false;
        const Node old = *known;
        m_nodes.Erase(nid.value);
        m_changedNodes.push_back(nid.value);
        ChangeReferences(BidOf(old.data), References::OneLess);
        ChangeReferences(BidOf(old.sub), References::OneLess);
        return true;
    });
}

format::Nid CNdbWriter::AllocateNid(format::NidType type)
{
    constexpr std::uint32_t kMostIndexes = 1u << 27;
    const std::uint32_t index = m_header.lastNodeIndex[static_cast<std::size_t>(type)] + 1;
    if (index >= kMostIndexes)
        throw std::length_error("no node id of this type is left");
    const format::Nid nid = format::Nid::Make(type, index);
    RaiseIndex(nid);
    return nid;
}

std::uint32_t CNdbWriter::NextUnique()
{
    // The header's own count goes on at every checkpoint.
    constexpr std::uint32_t kReserve = 1u << 20;
    if (m_header.unique >= std::numeric_limits<std::uint32_t>::max() - kReserve)
        throw std::length_error("no row version is left");
    return m_header.unique++;
}

std::optional<NodeRecord> CNdbWriter::FindNode(format::Nid nid)
{
    const Node* const node = m_nodes.Find(nid.value);
    if (node == nullptr)
        return std::nullopt;
    return RecordOf(*node);
}

void CNdbWriter::VisitNodes(const std::function<bool(const NodeRecord&)>& visit)
{
    for (const Node& node : m_nodes.Sorted())
        if (!visit(RecordOf(node)))
            return;
}

std::uint32_t CNdbWriter::ReferencesTo(format::Bid bid) const
{
    return BlockOf(bid).references;
}

}  // namespace pastille::component::pst
