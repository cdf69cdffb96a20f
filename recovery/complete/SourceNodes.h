#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "store/complete/CompleteScan.h"
#include "store/complete/FoundTable.h"
#include "store/complete/SourceBlocks.h"

namespace pastille::recovery::complete {

/// What a version of a node names.
store::complete::NodeReference ReferenceOf(const store::complete::CScannedSource& source,
                                           const store::complete::NodeVersion& version);

/// Visits the versions of each node by rising id until `visit` returns false.
void ForEachNode(const store::complete::CNodeIndex& nodes,
                 const std::function<bool(std::span<const store::complete::NodeVersion>)>& visit);

/// True for the types of nodes that hold a message. [MS-PST] 2.2.2.1
bool IsMessageNode(std::uint32_t nid);
/// True for a message that its folder's table of associated items lists.
bool IsAssociatedNode(std::uint32_t nid);

/// Node id of the table that lists the items of a folder.
std::uint32_t ContentsTableOf(std::uint32_t folder, bool isAssociated);

/// The newest version of a table; nullptr when it cannot be read. `blocks` must outlive it.
std::unique_ptr<store::complete::CFoundTable> OpenTable(const store::complete::CScannedSource& source,
                                                        store::complete::CSourceBlocks& blocks,
                                                        std::uint32_t nid);

}  // namespace pastille::recovery::complete
