#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "check/MessagingRun.h"
#include "format/Ids.h"

namespace pastille::check {

/// A folder or search folder, and what its properties and tables say.
struct FolderFacts {
    const CDatabase::Node* node = nullptr;
    std::uint32_t children = 0;      ///< folders whose parent it is
    std::uint32_t contentCount = 0;  ///< of its properties, as the following two
    std::uint32_t unreadCount = 0;
    bool hasSubfolders = false;
    bool isRead = false;             ///< its properties could be read
    bool isListed = false;           ///< its parent has a row for it
    bool isVisited = false;          ///< its properties were looked at
    bool isHierarchyBroken = false;  ///< so nothing can be said of its children's rows
    bool isContentsBroken = false;   ///< the same of its messages' rows
    bool isAssociatedBroken = false;

    bool IsSearch() const { return format::Nid{node->nid}.Type() == format::NidType::SearchFolder; }
    /// Search folders that clients make for themselves have no tables in the public document's form.
    bool IsInternal() const { return IsSearch() && node->nid < format::nids::kSpamSearchFolder.value; }
};

/// All folders of a store by rising NID, and which of its messages are listed. Memory: 40 bytes for each
/// folder, one bit for each node.
class CFolderTree {
public:
    /// Finds the folders and checks how they hang together: parents are folders, none is its own ancestor.
    /// `run` must outlive the tree.
    explicit CFolderTree(CMessagingRun& run);

    std::span<FolderFacts> All() { return m_folders; }
    FolderFacts* Find(std::uint32_t nid);
    /// The folder that a folder lies in; nullptr when it says none, or itself, which is a finding of its own.
    FolderFacts* FindParent(const FolderFacts& folder);
    /// Notes that a row stands for the message. Returns false when one did already.
    bool List(const CDatabase::Node& message);
    bool IsListed(const CDatabase::Node& message) const { return m_isListed[NumberOf(message)]; }

private:
    std::size_t NumberOf(const CDatabase::Node& node) const
    {
        return static_cast<std::size_t>(&node - m_run.Database().Nodes().data());
    }
    void CheckParents();
    void CheckCycles();

    CMessagingRun& m_run;
    std::vector<FolderFacts> m_folders;
    std::vector<bool> m_isListed;
};

}  // namespace pastille::check
