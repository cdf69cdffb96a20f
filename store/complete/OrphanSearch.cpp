#include "store/complete/OrphanSearch.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "format/Block.h"
#include "format/Ids.h"
#include "format/PropertyIds.h"
#include "store/complete/References.h"

namespace pastille::store::complete {
namespace {

using format::NidType;

/// The ids of the subnodes that values stand in: how many and which, as a sum that does not depend on their
/// order. Hardly any two messages have the same.
struct ValueIds {
    std::uint64_t count = 0;
    std::uint64_t sum = 0;

    void Add(std::uint32_t nid)
    {
        ++count;
        std::uint64_t mixed = nid * 0x9E37'79B9'7F4A'7C15;
        mixed = (mixed ^ (mixed >> 29)) * 0xBF58'476D'1CE4'E5B9;
        sum += mixed ^ (mixed >> 32);
    }
    friend auto operator<=>(const ValueIds&, const ValueIds&) = default;
};

/// A property context of a message that nothing refers to.
struct Context {
    NodeReference reference;
    ValueIds values;
    std::uint64_t bytes = 0;        ///< of its data
    std::uint32_t messageSize = 0;  ///< as it states it
    bool hasAttachments = false;
    bool hasRecipients = false;
};

/// A subnode tree that nothing refers to.
struct Tree {
    std::uint64_t bid = 0;
    ValueIds values;  ///< of the subnodes that can be nothing but values
    bool isAtHome = true;
    bool hasAttachments = false;
    bool hasOwnAttachments = false;  ///< that no node has as well
    bool hasRecipients = false;
    std::optional<std::uint64_t> bytes;  ///< data below it, once it was asked for
    bool isTaken = false;

    std::pair<ValueIds, std::uint64_t> Key() const { return {values, bid}; }
};

class COrphanSearch {
public:
    COrphanSearch(CScannedSource& source, CSourceBlocks& blocks, const std::function<bool()>& proceed)
        : m_source(source), m_blocks(blocks), m_proceed(proceed), m_references(source.blocks, blocks)
    {
    }

    std::vector<OrphanMessage> Run()
    {
        if (MarkNodes() && FindParts())
            Match();
        return Result();
    }

private:
    bool MarkNodes();
    bool FindParts();
    void TakePart(const BlockRecord& record);
    void AddContext(const NodeReference& reference);
    void AddTree(std::uint64_t bid, bool isAtHome);
    /// An attachment that is still there and that no node has.
    bool IsOwnAttachment(const Subnode& subnode) const;
    void Match();
    Tree* BestTree(const Context& context);
    Tree* NearbyTree(const Context& context);
    Tree* TreeOfValues(const Context& context);
    bool Fits(const Context& context, const Tree& tree);
    std::optional<std::uint64_t> Distance(const Context& context, Tree& tree);
    std::uint64_t BytesBelow(const Tree& tree);
    /// What may still be looked at of so much for each block of the file.
    std::uint64_t Allowance() const { return 64 * m_source.blocks.Records().size() + 250'000; }
    std::vector<OrphanMessage> Result() const;

    CScannedSource& m_source;
    CSourceBlocks& m_blocks;
    const std::function<bool()>& m_proceed;
    CReferences m_references;
    std::optional<CReferences> m_ofNodes;  ///< as it was when the nodes alone were marked
    std::vector<Context> m_contexts;
    std::vector<Tree> m_trees;  ///< by the ids of their values and their BID, once all are there
    std::uint64_t m_subnodesLeft = Allowance();
    std::uint64_t m_comparisonsLeft = Allowance();
};

bool COrphanSearch::MarkNodes()
{
    for (const NodeVersion& version : m_source.nodes.Versions()) {
        if (!m_proceed())
            return false;
        m_references.Mark({version.bidData, version.bidSub, m_source.nodes.PageOf(version).isAtHome});
    }
    m_ofNodes.emplace(m_references);
    return true;
}

/// Trees first: what they hold belongs to them, and does not stand for itself.
bool COrphanSearch::FindParts()
{
    const auto records = m_source.blocks.Records();
    std::vector<std::size_t> left;
    bool isKnown[2]{};
    for (std::size_t i = 0; i < records.size(); ++i) {
        const BlockPlace place = records[i].Place();
        if (i == 0 || records[i - 1].Bid() != records[i].Bid())
            isKnown[0] = isKnown[1] = false;
        // Of copies that are at home alike, one is read.
        if (!m_references.IsMarked(i) && place.isSound && !std::exchange(isKnown[place.isAtHome], true))
            left.push_back(i);
    }
    for (const std::size_t i : left) {
        if (!m_proceed())
            return false;
        if (format::Bid{records[i].Bid()}.IsInternal())
            m_references.MarkBelow(records[i].Bid(), records[i].Place().isAtHome);
    }
    for (const std::size_t i : left) {
        if (!m_proceed())
            return false;
        if (!m_references.IsMarked(i))
            TakePart(records[i]);
    }
    return true;
}

void COrphanSearch::TakePart(const BlockRecord& record)
{
    const bool isAtHome = record.Place().isAtHome;
    if (!format::Bid{record.Bid()}.IsInternal()) {
        AddContext({record.Bid(), 0, isAtHome});
        return;
    }
    const SourceBlock block = m_blocks.Read(record.Bid(), isAtHome);
    if (!block.bytes)
        return;
    if (format::CDataTreeBlock::Parse(m_blocks.Layout(), format::CByteView(*block.bytes)))
        AddContext({record.Bid(), 0, isAtHome});
    else
        AddTree(record.Bid(), isAtHome);
}

void COrphanSearch::AddContext(const NodeReference& reference)
{
    CFoundObject object(m_blocks, reference);
    if (!object.Open() || object.Find(format::pid::kMessageClass) == nullptr)
        return;
    Context context;
    context.reference = reference;
    std::vector<std::uint32_t> valueNids;
    for (const format::PropertyContextRecord& record : object.Records()) {
        const bool isInline = format::StorageRuleOf(record.tag.type).isInlineInContext;
        if (!isInline && format::Nid{record.valueOrHnid}.Type() == NidType::Ltp)
            valueNids.push_back(record.valueOrHnid);
    }
    std::ranges::sort(valueNids);
    valueNids.erase(std::unique(valueNids.begin(), valueNids.end()), valueNids.end());
    for (const std::uint32_t nid : valueNids)
        context.values.Add(nid);
    context.bytes = CNodeData(m_blocks, reference.bidData, reference.isAtHome).Size();
    context.messageSize = object.Number(format::pid::kMessageSize).value_or(0);
    context.hasAttachments =
        (object.Number(format::pid::kMessageFlags).value_or(0) & format::messageflag::kHasAttachments) != 0;
    for (const std::uint16_t id :
         {format::pid::kDisplayTo, format::pid::kDisplayCc, format::pid::kDisplayBcc})
        context.hasRecipients = context.hasRecipients || !object.Bytes(id, 2).empty();
    m_contexts.push_back(std::move(context));
}

bool COrphanSearch::IsOwnAttachment(const Subnode& subnode) const
{
    const std::uint64_t bid = subnode.reference.bidData;
    return format::Nid{subnode.nid}.Type() == NidType::Attachment && !m_ofNodes->IsMarkedBid(bid) &&
           m_source.blocks.Find(bid, subnode.reference.isAtHome);
}

void COrphanSearch::AddTree(std::uint64_t bid, bool isAtHome)
{
    if (m_subnodesLeft == 0)
        return;
    const CSubnodes subnodes(m_blocks, bid, isAtHome);
    m_subnodesLeft -= std::min<std::uint64_t>(m_subnodesLeft, subnodes.Looked());
    if (subnodes.All().empty())
        return;
    Tree tree;
    tree.bid = bid;
    tree.isAtHome = isAtHome;
    bool isMessages = true;
    for (const Subnode& subnode : subnodes.All()) {
        const NidType type = format::Nid{subnode.nid}.Type();
        if (type == NidType::Ltp)
            tree.values.Add(subnode.nid);
        tree.hasAttachments = tree.hasAttachments || type == NidType::Attachment;
        tree.hasOwnAttachments = tree.hasOwnAttachments || IsOwnAttachment(subnode);
        tree.hasRecipients = tree.hasRecipients || type == NidType::RecipientTable;
        // An attachment's own tree holds the message attached or the bytes of a storage.
        isMessages = isMessages && type != NidType::NormalMessage && type != NidType::OleStream;
    }
    if (isMessages)
        m_trees.push_back(std::move(tree));
}

/// What values need their subnodes comes first, so that it is not left without them.
void COrphanSearch::Match()
{
    const auto needsMore = [](const Context& a, const Context& b) { return a.values.count > b.values.count; };
    std::stable_sort(m_contexts.begin(), m_contexts.end(), needsMore);
    std::ranges::stable_sort(m_trees, {}, &Tree::Key);
    m_subnodesLeft = Allowance();
    for (Context& context : m_contexts) {
        if (!m_proceed())
            return;
        if (Tree* const tree = BestTree(context)) {
            tree->isTaken = true;
            context.reference.bidSub = tree->bid;
        }
    }
}

Tree* COrphanSearch::BestTree(const Context& context)
{
    Tree* const nearby = NearbyTree(context);
    return nearby != nullptr ? nearby : TreeOfValues(context);
}

Tree* COrphanSearch::NearbyTree(const Context& context)
{
    // A message is written at once: its blocks have BIDs that are not far from each other.
    constexpr std::uint64_t kFarthest = 4096;
    const std::uint64_t bid = context.reference.bidData;
    const auto first = std::pair(context.values, bid - std::min(bid, kFarthest));
    const auto last = std::pair(context.values, bid + kFarthest);
    Tree* best = nullptr;
    std::uint64_t bestDistance = std::numeric_limits<std::uint64_t>::max();
    for (auto at = std::ranges::lower_bound(m_trees, first, {}, &Tree::Key);
         at != m_trees.end() && at->Key() <= last; ++at) {
        const auto distance = Distance(context, *at);
        if (distance && *distance < bestDistance) {
            bestDistance = *distance;
            best = &*at;
        }
    }
    return best;
}

/// A tree that stayed when its message was written anew lies anywhere, but has the values' subnodes. The
/// newest one fits best.
Tree* COrphanSearch::TreeOfValues(const Context& context)
{
    if (context.values.count == 0)
        return nullptr;
    const auto first = std::ranges::lower_bound(m_trees, context.values, {}, &Tree::values);
    auto at = std::ranges::upper_bound(m_trees, context.values, {}, &Tree::values);
    while (at != first) {
        if (Fits(context, *--at))
            return &*at;
    }
    return nullptr;
}

bool COrphanSearch::Fits(const Context& context, const Tree& tree)
{
    if (m_comparisonsLeft == 0)
        return false;
    --m_comparisonsLeft;
    return !tree.isTaken && tree.isAtHome == context.reference.isAtHome &&
           context.hasAttachments == tree.hasAttachments && context.values == tree.values;
}

/// How far a tree is from being the context's; nothing when it cannot be. One of the stated size is nearer
/// than any other.
std::optional<std::uint64_t> COrphanSearch::Distance(const Context& context, Tree& tree)
{
    if (!Fits(context, tree))
        return std::nullopt;
    if (!tree.bytes)
        tree.bytes = BytesBelow(tree);
    const std::uint64_t bid = context.reference.bidData;
    const std::uint64_t apart = bid > tree.bid ? bid - tree.bid : tree.bid - bid;
    if (context.messageSize == context.bytes + *tree.bytes)
        return apart;
    constexpr std::uint64_t kNearby = 64, kOtherSize = std::uint64_t{1} << 32;
    const bool isLikely =
        context.values.count != 0 || context.hasAttachments || (context.hasRecipients && tree.hasRecipients);
    return isLikely && apart <= kNearby ? std::optional(apart + kOtherSize) : std::nullopt;
}

/// Data bytes of all subnodes, as PidTagMessageSize counts them. More subnodes than all sound trees together
/// have are not counted.
std::uint64_t COrphanSearch::BytesBelow(const Tree& tree)
{
    std::uint64_t bytes = 0;
    std::vector<std::uint64_t> pending{tree.bid};
    while (!pending.empty() && m_subnodesLeft != 0) {
        const CSubnodes subnodes(m_blocks, pending.back(), tree.isAtHome);
        pending.pop_back();
        if (subnodes.Looked() > m_subnodesLeft) {
            m_subnodesLeft = 0;
            break;
        }
        m_subnodesLeft -= subnodes.Looked();
        for (const Subnode& subnode : subnodes.All()) {
            bytes += CNodeData(m_blocks, subnode.reference.bidData, tree.isAtHome).Size();
            if (subnode.reference.bidSub != 0)
                pending.push_back(subnode.reference.bidSub);
        }
    }
    return bytes;
}

std::vector<OrphanMessage> COrphanSearch::Result() const
{
    std::vector<OrphanMessage> found;
    for (const Context& context : m_contexts)
        found.push_back({context.reference, context.reference.bidSub != 0});
    for (const Tree& tree : m_trees) {
        if (!tree.isTaken && tree.hasOwnAttachments)
            found.push_back({{0, tree.bid, tree.isAtHome}, false});
    }
    const auto newer = [](const OrphanMessage& a, const OrphanMessage& b) {
        return std::max(a.reference.bidData, a.reference.bidSub) >
               std::max(b.reference.bidData, b.reference.bidSub);
    };
    std::stable_sort(found.begin(), found.end(), newer);
    return found;
}

}  // namespace

std::vector<OrphanMessage> FindOrphanMessages(CScannedSource& source, CSourceBlocks& blocks,
                                              const std::function<bool()>& proceed)
{
    return COrphanSearch(source, blocks, proceed).Run();
}

}  // namespace pastille::store::complete
