#include "component/pst/ndb/NdbWriter.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

#include "component/pst/ndb/FormatError.h"
#include "format/Block.h"

namespace pastille::component::pst {
namespace {

constexpr const format::VariantLayout& kLayout = format::kUnicodeLayout;
constexpr std::uint64_t kBidStep = 4;
constexpr std::uint64_t kInternalBit = 2;
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
    : m_file(file), m_method(method), m_output(file)
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
    if (number == 0 || number > m_blocks.size() || m_blocks[number - 1].isInternal != bid.IsInternal())
        throw std::invalid_argument("no block of this store");
    return m_blocks[number - 1];
}

format::Bid CNdbWriter::AppendBlock(std::span<const std::byte> bytes, bool isInternal)
{
    if (bytes.empty() || bytes.size() > kLayout.largestBlock)
        throw std::length_error("a block has 1 to 8176 bytes");
    return Guard([&] {
        const std::uint64_t extent = format::BlockExtent(kLayout, bytes.size());
        const std::uint64_t offset = m_plan.TakeBlock(extent);
        const format::Bid bid{(m_blocks.size() + 1) * kBidStep | (isInternal ? kInternalBit : 0)};
        m_blocks.push_back({offset, static_cast<std::uint16_t>(bytes.size()), 0, isInternal});
        const auto place = m_output.Reserve(offset, static_cast<std::size_t>(extent));
        std::ranges::copy(bytes, place.begin());
        if (!isInternal)
            format::EncodeBlock(m_method, bid.value, place.first(bytes.size()));
        format::EncodeBlockTrailer(kLayout, place, bytes.size(), offset, bid.value);
        return bid;
    });
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
    std::vector<std::byte> bytes(block.size);
    if (!m_output.Read(block.offset, bytes))
        throw CFormatError({"BLOCK", "data", bid.value, block.offset});
    if (!block.isInternal)
        format::DecodeBlock(m_method, bid.value, bytes);
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
        const std::uint64_t extent = format::BlockExtent(kLayout, block.size);
        if (change == References::OneMore) {
            if (block.references == kMostReferences)
                throw std::length_error("a block is referred to too often");
            if (block.references++ != 0)
                continue;
            m_plan.Mark(block.offset, extent);
        } else {
            if (--block.references != 0)
                continue;
            m_plan.Clear(block.offset, extent);
        }
        if (block.isInternal)
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
        const Node fresh{nid.value, parent.value, data.value, sub.value};
        Node* const known = m_nodes.Find(nid.value);
        if (known == nullptr) {
            m_nodes.Insert(fresh);
            return;
        }
        const Node old = std::exchange(*known, fresh);
        ChangeReferences({old.data}, References::OneLess);
        ChangeReferences({old.sub}, References::OneLess);
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
        ChangeReferences({old.data}, References::OneLess);
        ChangeReferences({old.sub}, References::OneLess);
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
    return m_header.unique++;
}

std::optional<NodeRecord> CNdbWriter::FindNode(format::Nid nid)
{
    const Node* const node = m_nodes.Find(nid.value);
    if (node == nullptr)
        return std::nullopt;
    return NodeRecord{{node->nid}, {node->data}, {node->sub}, {node->parent}};
}

void CNdbWriter::VisitNodes(const std::function<bool(const NodeRecord&)>& visit)
{
    for (const Node& node : m_nodes.Sorted())
        if (!visit({{node.nid}, {node.data}, {node.sub}, {node.parent}}))
            return;
}

std::uint32_t CNdbWriter::ReferencesTo(format::Bid bid) const
{
    return BlockOf(bid).references;
}
std::size_t CNdbWriter::BlockSize(format::Bid bid) const
{
    return BlockOf(bid).size;
}

}  // namespace pastille::component::pst
