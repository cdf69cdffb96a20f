#include "recovery/complete/SourceNodes.h"

#include "format/Ids.h"

namespace pastille::recovery::complete {

using format::Nid;
using format::NidType;
using store::complete::CFoundTable;
using store::complete::NodeVersion;

store::complete::NodeReference ReferenceOf(const store::complete::CScannedSource& source,
                                           const NodeVersion& version)
{
    return {version.bidData, version.bidSub, source.nodes.PageOf(version).isAtHome};
}

void ForEachNode(const store::complete::CNodeIndex& nodes,
                 const std::function<bool(std::span<const NodeVersion>)>& visit)
{
    const auto all = nodes.Versions();
    for (std::size_t begin = 0, end = 0; begin < all.size(); begin = end) {
        while (end < all.size() && all[end].nid == all[begin].nid)
            ++end;
        if (!visit(all.subspan(begin, end - begin)))
            return;
    }
}

bool IsMessageNode(std::uint32_t nid)
{
    return Nid{nid}.Type() == NidType::NormalMessage || IsAssociatedNode(nid);
}

bool IsAssociatedNode(std::uint32_t nid)
{
    return Nid{nid}.Type() == NidType::AssociatedMessage;
}

std::uint32_t ContentsTableOf(std::uint32_t folder, bool isAssociated)
{
    const NidType type = isAssociated ? NidType::AssociatedContentsTable : NidType::ContentsTable;
    return Nid::Make(type, Nid{folder}.Index()).value;
}

std::unique_ptr<CFoundTable> OpenTable(const store::complete::CScannedSource& source,
                                       store::complete::CSourceBlocks& blocks, std::uint32_t nid)
{
    const auto versions = source.nodes.VersionsOf(nid);
    if (versions.empty())
        return nullptr;
    auto table = std::make_unique<CFoundTable>(blocks, ReferenceOf(source, versions.front()));
    return table->Open() ? std::move(table) : nullptr;
}

}  // namespace pastille::recovery::complete
