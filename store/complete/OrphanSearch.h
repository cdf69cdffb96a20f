#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "store/complete/FoundObject.h"

namespace pastille::store::complete {

/// A message of which no page of the node tree tells: its property context, and the subnode tree that belongs
/// to it as far as can be told. One of the two BIDs may be 0.
struct OrphanMessage {
    NodeReference reference;
    bool isMatched = false;  ///< both are there and fit each other
};

/// Finds the messages in blocks that no version of any node refers to, newest first, and brings property
/// contexts and subnode trees together again: a tree fits a context that names exactly its value subnodes,
/// whose attachments and size agree, and that was written about the same time, as BIDs tell. Messages that
/// are attached to others come with those. A tree whose context is
/// lost comes alone when it has attachments that no node has.
/// `proceed` is asked now and then; false ends the search, and the list is what was found by then.
std::vector<OrphanMessage> FindOrphanMessages(CScannedSource& source, CSourceBlocks& blocks,
                                              const std::function<bool()>& proceed);

}  // namespace pastille::store::complete
