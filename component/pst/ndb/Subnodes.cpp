#include <cstdint>
#include <optional>

#include "component/pst/ndb/FormatError.h"
#include "component/pst/ndb/NodeDatabase.h"
#include "format/Block.h"

namespace pastille::component::pst {
namespace {

constexpr std::uint64_t kNidBits = 0xFFFFFFFF;

/// One block of a subnode tree with what keeps its bytes.
struct SubnodePage {
    format::SharedBytes owner;
    format::CSubnodeBlock block;
};

SubnodePage ReadPage(INodeDatabase& database, format::Bid bid)
{
    if (!bid.IsInternal())
        throw CFormatError({"SLBLOCK", "bid", bid.value, 0});
    format::SharedBytes bytes = database.ReadBlock(bid);
    auto block = Require(format::CSubnodeBlock::Parse(database.Layout(), format::CByteView(*bytes)));
    if (block.Count() == 0)
        throw CFormatError({"SLBLOCK", "cEnt", 0, bid.value});
    return {std::move(bytes), block};
}

/// The leaf below entry `index` of an index block; it must begin with the entry's NID.
SubnodePage ReadLeaf(INodeDatabase& database, const SubnodePage& parent, std::size_t index)
{
    const format::SubnodeIndexEntry entry = parent.block.ChildAt(index);
    SubnodePage leaf = ReadPage(database, {entry.bid});
    if (leaf.block.Level() != 0)
        throw CFormatError({"SLBLOCK", "cLevel", leaf.block.Level(), entry.bid});
    if ((leaf.block.LeafAt(0).nid & kNidBits) != (entry.nid & kNidBits))
        throw CFormatError({"SIENTRY", "nid", entry.nid, entry.bid});
    return leaf;
}

std::uint64_t KeyAt(const SubnodePage& page, std::size_t index)
{
    return (page.block.Level() == 0 ? page.block.LeafAt(index).nid : page.block.ChildAt(index).nid) &
           kNidBits;
}

/// Number of the last entry whose NID is not above the one wanted.
std::optional<std::size_t> LastNotAbove(const SubnodePage& page, std::uint64_t nid)
{
    std::size_t low = 0;
    std::size_t high = page.block.Count();
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (KeyAt(page, middle) <= nid)
            low = middle + 1;
        else
            high = middle;
    }
    return low == 0 ? std::nullopt : std::optional(low - 1);
}

NodeRecord RecordOf(const format::SubnodeLeafEntry& entry)
{
    return {{static_cast<std::uint32_t>(entry.nid)}, {entry.bidData}, {entry.bidSub}, {}};
}

/// Visits the entries of a leaf, which must rise above `lastKey`. False when `visit` has ended the visit.
bool VisitLeaf(const SubnodePage& leaf, std::optional<std::uint64_t>& lastKey,
               const std::function<bool(const NodeRecord&)>& visit)
{
    for (std::size_t i = 0; i < leaf.block.Count(); ++i) {
        const std::uint64_t key = KeyAt(leaf, i);
        if (lastKey && key <= *lastKey)
            throw CFormatError({"SLENTRY", "nid", key, 0});
        lastKey = key;
        if (!visit(RecordOf(leaf.block.LeafAt(i))))
            return false;
    }
    return true;
}

}  // namespace

std::optional<NodeRecord> FindSubnode(INodeDatabase& database, format::Bid sub, format::Nid nid)
{
    if (sub.value == 0)
        return std::nullopt;
    SubnodePage page = ReadPage(database, sub);
    if (page.block.Level() == 1) {
        const auto child = LastNotAbove(page, nid.value);
        if (!child)
            return std::nullopt;
        page = ReadLeaf(database, page, *child);
    }
    const auto index = LastNotAbove(page, nid.value);
    if (!index || KeyAt(page, *index) != nid.value)
        return std::nullopt;
    return RecordOf(page.block.LeafAt(*index));
}

void VisitSubnodes(INodeDatabase& database, format::Bid sub,
                   const std::function<bool(const NodeRecord&)>& visit)
{
    if (sub.value == 0)
        return;
    const SubnodePage root = ReadPage(database, sub);
    std::optional<std::uint64_t> lastKey;
    if (root.block.Level() == 0) {
        VisitLeaf(root, lastKey, visit);
        return;
    }
    for (std::size_t i = 0; i < root.block.Count(); ++i)
        if (!VisitLeaf(ReadLeaf(database, root, i), lastKey, visit))
            return;
}

}  // namespace pastille::component::pst
