#include "store/complete/OrphanSearch.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <unordered_map>

#include "format/Block.h"
#include "format/Ids.h"
#include "format/PropertyIds.h"
#include "store/complete/References.h"

namespace pastille::store::complete {
namespace {

using format::NidType;

constexpr std::uint32_t kHasAttachments = 0x10;  // of PidTagMessageFlags

/// A property context of a message that nothing refers to.
struct Context {
    NodeReference reference;
    std::vector<std::uint32_t> valueNids;  ///< of the subnodes that its values stand in, sorted
    std::uint64_t bytes = 0;               ///< of its data
    std::uint32_t messageSize = 0;         ///< as it states it
    bool hasAttachments = false;
    bool hasRecipients = false;
};

/// A subnode tree that nothing refers to.
struct Tree {
    std::uint64_t bid = 0;
    bool isAtHome = true;
    std::vector<std::uint32_t> nids;       ///< of all its subnodes, sorted
    std::vector<std::uint32_t> valueNids;  ///< of those that can be nothing but values
    bool hasAttachments = false;
    bool hasOwnAttachments = false;  ///< that no node has as well
    bool hasRecipients = false;
    std::uint64_t bytes = 0;  ///< data below it, counted when it was asked for
    bool isCounted = false;
    bool isTaken = false;
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
    bool Fits(const Context& context, const Tree& tree) const;
    std::optional<std::uint64_t> Distance(const Context& context, Tree& tree);
    std::uint64_t BytesBelow(std::uint64_t bidSub, bool isAtHome, unsigned level);
    std::vector<OrphanMessage> Result() const;

    CScannedSource& m_source;
    CSourceBlocks& m_blocks;
    const std::function<bool()>& m_proceed;
    CReferences m_references;
    std::optional<CReferences> m_ofNodes;  ///< as it was when the nodes alone were marked
    std::vector<Context> m_contexts;
    std::vector<Tree> m_trees;                                           ///< by BID
    std::unordered_multimap<std::uint32_t, std::size_t> m_treesByValue;  ///< by the ids of value subnodes
    std::size_t m_subnodesLeft = 0;
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
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (!m_references.IsMarked(i) && records[i].Place().isSound)
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
    for (const format::PropertyContextRecord& record : object.Records()) {
        const bool isValueId = !format::StorageRuleOf(record.tag.type).isInlineInContext;
        if (isValueId && !format::IsHeapId(record.valueOrHnid))
            context.valueNids.push_back(record.valueOrHnid);
    }
    std::ranges::sort(context.valueNids);
    context.bytes = CNodeData(m_blocks, reference.bidData, reference.isAtHome).Size();
    context.messageSize = object.Number(format::pid::kMessageSize).value_or(0);
    context.hasAttachments = (object.Number(format::pid::kMessageFlags).value_or(0) & kHasAttachments) != 0;
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
    const CSubnodes subnodes(m_blocks, bid, isAtHome);
    if (subnodes.All().empty())
        return;
    Tree tree;
    tree.bid = bid;
    tree.isAtHome = isAtHome;
    bool isMessages = true;
    for (const Subnode& subnode : subnodes.All()) {
        const NidType type = format::Nid{subnode.nid}.Type();
        tree.nids.push_back(subnode.nid);
        if (type == NidType::Ltp)
            tree.valueNids.push_back(subnode.nid);
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
    const auto needsMore = [](const Context& a, const Context& b) {
        return a.valueNids.size() > b.valueNids.size();
    };
    std::stable_sort(m_contexts.begin(), m_contexts.end(), needsMore);
    for (std::size_t i = 0; i < m_trees.size(); ++i) {
        for (const std::uint32_t nid : m_trees[i].valueNids)
            m_treesByValue.emplace(nid, i);
    }
    constexpr std::size_t kMostSubnodes = 10'000'000;
    m_subnodesLeft = kMostSubnodes;
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
    auto at = std::ranges::lower_bound(m_trees, bid - std::min(bid, kFarthest), {}, &Tree::bid);
    Tree* best = nullptr;
    std::uint64_t bestDistance = std::numeric_limits<std::uint64_t>::max();
    for (; at != m_trees.end() && at->bid <= bid + kFarthest; ++at) {
        const auto distance = Distance(context, *at);
        if (distance && *distance < bestDistance) {
            bestDistance = *distance;
            best = &*at;
        }
    }
    return best;
}

/// A tree that stayed when its message was written anew lies anywhere, but has the values' subnodes, whose
/// ids hardly any other message has. The newest one fits best.
Tree* COrphanSearch::TreeOfValues(const Context& context)
{
    Tree* best = nullptr;
    if (context.valueNids.empty())
        return best;
    const auto [begin, end] = m_treesByValue.equal_range(context.valueNids.front());
    for (auto at = begin; at != end; ++at) {
        Tree& tree = m_trees[at->second];
        if (Fits(context, tree) && (best == nullptr || tree.bid > best->bid))
            best = &tree;
    }
    return best;
}

bool COrphanSearch::Fits(const Context& context, const Tree& tree) const
{
    return !tree.isTaken && tree.isAtHome == context.reference.isAtHome &&
           context.hasAttachments == tree.hasAttachments &&
           std::ranges::includes(context.valueNids, tree.valueNids) &&
           std::ranges::includes(tree.nids, context.valueNids);
}

/// How far a tree is from being the context's; nothing when it cannot be. One of the stated size is nearer
/// than any other.
std::optional<std::uint64_t> COrphanSearch::Distance(const Context& context, Tree& tree)
{
    if (!Fits(context, tree))
        return std::nullopt;
    if (!tree.isCounted) {
        tree.bytes = BytesBelow(tree.bid, tree.isAtHome, 0);
        tree.isCounted = true;
    }
    const std::uint64_t bid = context.reference.bidData;
    const std::uint64_t apart = bid > tree.bid ? bid - tree.bid : tree.bid - bid;
    if (context.messageSize == context.bytes + tree.bytes)
        return apart;
    constexpr std::uint64_t kNearby = 64, kOtherSize = std::uint64_t{1} << 32;
    const bool isLikely =
        !context.valueNids.empty() || context.hasAttachments || (context.hasRecipients && tree.hasRecipients);
    return isLikely && apart <= kNearby ? std::optional(apart + kOtherSize) : std::nullopt;
}

/// Data bytes of all subnodes, as PidTagMessageSize counts them.
std::uint64_t COrphanSearch::BytesBelow(std::uint64_t bidSub, bool isAtHome, unsigned level)
{
    constexpr unsigned kDeepest = 64;
    if (bidSub == 0 || level == kDeepest)
        return 0;
    std::uint64_t bytes = 0;
    const CSubnodes subnodes(m_blocks, bidSub, isAtHome);
    for (const Subnode& subnode : subnodes.All()) {
        if (m_subnodesLeft == 0)
            break;
        --m_subnodesLeft;
        bytes += CNodeData(m_blocks, subnode.reference.bidData, isAtHome).Size();
        bytes += BytesBelow(subnode.reference.bidSub, isAtHome, level + 1);
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
