#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace pastille::recovery {

/// One recovered folder of the source.
struct FolderRecord {
    std::uint32_t nodeId;
    std::uint32_t parentId;  ///< nidParent of the folder's NBT entry
    std::u16string name;
    std::u16string containerClass;
};

/// Container class of a folder that has none.
inline constexpr std::u16string_view kMailFolderClass = u"IPF.Note";

/// The folders of the source: first collected, then arranged as a tree below the root of the new store.
///
/// Parent ids come from a damaged file. A folder hangs directly under the root when its parent is the
/// source's root, is missing, or would put it deeper than kDeepest levels or its path beyond kLongestPath
/// characters; a cycle is cut at its folder with the lowest node id, which then hangs under the root as well.
class CFolderList {
public:
    static constexpr std::size_t kDeepest = 300;
    static constexpr std::size_t kLongestPath = 32'767;

    void Clear();
    bool Contains(std::uint32_t nodeId) const { return m_index.contains(nodeId); }
    /// Adds a folder; a second one with the same node id is dropped. An empty class and the class of IMAP
    /// folders become that of mail folders.
    void Add(FolderRecord record);
    /// The source's folder that the root of the new store stands for.
    void SetRoot(std::uint32_t nodeId) { m_rootId = nodeId; }
    std::optional<std::uint32_t> Root() const { return m_rootId; }

    /// Orders the folders: parents before their children, siblings by node id. Takes out those whose parent
    /// is the root folder of the source's node tree. Linear but for a sort.
    void Arrange();

    const std::vector<FolderRecord>& Records() const { return m_records; }
    const FolderRecord* Find(std::uint32_t nodeId) const;
    /// The folder of the list that a folder hangs under; nothing when that is the root. REQUIRES: arranged.
    const FolderRecord* ParentOf(std::uint32_t nodeId) const;
    /// Path of a folder in the new store, "\" before each name; empty for the root; nothing when the node is
    /// no folder of the list. REQUIRES: arranged.
    std::optional<std::u16string> Path(std::uint32_t nodeId) const;

private:
    static constexpr std::size_t kUnderRoot = ~std::size_t{0};

    void LinkParents();
    void CutCycles();
    std::vector<std::size_t> ParentsFirst();
    void Reorder(const std::vector<std::size_t>& order);
    void Reindex();

    std::vector<FolderRecord> m_records;
    std::unordered_map<std::uint32_t, std::size_t> m_index;
    std::vector<std::size_t> m_parents;                ///< index of each record's parent, or kUnderRoot
    mutable std::vector<std::u16string> m_shortPaths;  ///< found before; long ones are built anew
    std::optional<std::uint32_t> m_rootId;
};

}  // namespace pastille::recovery
