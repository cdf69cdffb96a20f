#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "recovery/FolderList.h"
#include "recovery/complete/ItemText.h"
#include "recovery/complete/PropertyNames.h"
#include "store/complete/CompleteScan.h"
#include "store/complete/FoundTable.h"

namespace pastille::recovery::complete {

/// An item that a folder's table lists. 8 bytes.
struct ListedItem {
    std::uint32_t item;    ///< node id
    std::uint32_t folder;  ///< node id, with kAssociated when the table of associated items lists it

    static constexpr std::uint32_t kAssociated = 1;  ///< no bit of a folder's type
    std::uint32_t Folder() const { return folder & ~kAssociated; }
    bool IsAssociated() const { return (folder & kAssociated) != 0; }
};

/// What is known of a folder of the source.
struct SourceFolder {
    store::complete::NodeReference properties;  ///< of the version that could be read, else of the newest
    bool isNewest = true;                       ///< that version is the live one
    std::optional<std::uint32_t> statedItems;   ///< PidTagContentCount
};

/// Finds the folders of a scanned source, the names of its properties, the code page of its texts, and what
/// the folders' tables list.
///
/// The folders are the live ones, and the older versions of those that something live hangs under. Those
/// outside the tree that a user sees (search folders' roots, views) count when items are in them; they and
/// folders without a parent hang under the root.
class CSourceFolders {
public:
    /// All must outlive this object; `folders`, `names` and `pages` are filled.
    CSourceFolders(store::complete::CScannedSource& source, store::complete::CSourceBlocks& blocks,
                   CFolderList& folders, CPropertyNames& names, CCodePages& pages)
        : m_source(source), m_blocks(blocks), m_folders(folders), m_names(names), m_pages(pages)
    {
    }

    /// `proceed` is asked now and then with the number of nodes passed. False when it returned false.
    bool Collect(const std::function<bool(std::size_t)>& proceed);

    /// REQUIRES: collected. nullptr when that node is no folder.
    const SourceFolder* Find(std::uint32_t nid) const;
    /// The rows of all folders' tables by rising item, as they are: an item may be listed twice, or be gone.
    std::span<const ListedItem> Listed() const { return m_listed; }
    /// The folder that lists an item, the first by node id; nothing when none does.
    std::optional<ListedItem> ListingOf(std::uint32_t item) const;
    /// True for the folder that the new store's root stands for.
    bool IsRoot(std::uint32_t nid) const;

private:
    void ReadStore();
    void FindRoot();
    void FindParents();
    bool AddFolders(const std::function<bool(std::size_t)>& proceed);
    void AddFolder(std::span<const store::complete::NodeVersion> versions);
    void DropEmptyOutsiders();
    void ReadTables(std::uint32_t folder);
    void ReadTable(std::uint32_t table, std::uint32_t folder);
    void CompleteFromTables();
    void ReadHierarchy(const store::complete::NodeVersion& version,
                       std::unordered_map<std::uint32_t, FolderRecord>& wanted);

    store::complete::CScannedSource& m_source;
    store::complete::CSourceBlocks& m_blocks;
    CFolderList& m_folders;
    CPropertyNames& m_names;
    CCodePages& m_pages;
    std::uint32_t m_root = 0;
    std::unordered_set<std::uint32_t> m_parents;  ///< nodes that something live hangs under
    std::unordered_set<std::uint32_t> m_holders;  ///< of these, those with items
    std::unordered_map<std::uint32_t, SourceFolder> m_found;
    std::vector<FolderRecord> m_records;
    std::vector<ListedItem> m_listed;
};

}  // namespace pastille::recovery::complete
