#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "recovery/complete/ItemText.h"
#include "recovery/complete/SourceFolders.h"
#include "store/complete/FoundTable.h"

namespace pastille::recovery::complete {

/// A number that all versions of one message share, and hardly another message: made of its search key, or
/// without one of what identifies it to a reader. 0: nothing does. [MS-OXPROPS] PidTagSearchKey
std::uint64_t IdentityOf(store::complete::CFoundObject& message, const CItemText& text);

/// True for two versions of one node's message: of nodes in one store always, unless their search keys tell
/// otherwise. `isOneStore`: their pages lie where the store put them; else a node id may stand for a message
/// of each of two stores.
bool IsSameMessage(store::complete::CFoundObject& newer, store::complete::CFoundObject& older,
                   const CItemText& text, bool isOneStore);

/// True when its flags say that it belongs to its folder's table of associated items.
bool IsFlaggedAssociated(const store::complete::CFoundObject& message);

/// The rows of folders' tables that tell of messages which have no node, by what both row and message hold.
class CLostRows {
public:
    /// Adds the rows of a folder's table whose items are in `lost`.
    void Add(store::complete::CFoundTable& table, std::uint32_t folder,
             const std::unordered_set<std::uint32_t>& lost, const CItemText& text);
    bool IsEmpty() const { return m_rows.empty(); }
    /// The row of a message, which is given away once; nothing when there is none or more than one.
    std::optional<ListedItem> Take(store::complete::CFoundObject& message, const CItemText& text);

private:
    std::unordered_map<std::uint64_t, std::optional<ListedItem>> m_rows;  ///< nothing: several have that key
};

}  // namespace pastille::recovery::complete
