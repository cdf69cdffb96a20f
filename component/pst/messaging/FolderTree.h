#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "component/pst/ltp/PropertyBag.h"
#include "format/Ids.h"

namespace pastille::component::pst {

/// One folder of a store as it is held in memory. Belongs to the tree and lives as long as it does.
struct Folder {
    format::Nid nid;
    Folder* parent = nullptr;  ///< none for the root folder 0x122
    std::u16string name;       ///< in its stored form
    std::u16string wholeName;  ///< as it was given, when the stored form is cut
    std::u16string containerClass;
    std::vector<Folder*> children;                            ///< in the order of their making
    std::unordered_map<std::u16string_view, Folder*> byName;  ///< the first child of each name
    std::vector<std::uint32_t> items;                         ///< NIDs of the messages in store order
    std::uint32_t unreadCount = 0;
    std::uint32_t associatedCount = 0;   ///< messages in the associated contents
    std::uint32_t associatedUnread = 0;  ///< those that have not been read
    CPropertyBag properties;             ///< set from outside, beside those that the store keeps itself

    // Of a store opened for reading: whether `children` were read from the file. `items` is not read.
    bool childrenKnown = true;
    std::uint32_t unreadableChildren = 0;  ///< rows of the hierarchy table that lead to no folder
    // Of a store being written: what differs from the file.
    bool contentsChanged = true;
    bool associatedChanged = false;
    bool hierarchyChanged = true;  ///< a child is new, or a child's row differs
    bool propertiesChanged = true;
};

/// The folders of a store by their place and by their id.
class CFolderTree {
public:
    /// Adds a folder below `parent` (null: the root folder). The NID must be new.
    Folder& Add(Folder* parent, format::Nid nid, std::u16string_view name);
    Folder* Find(format::Nid nid) const;
    /// The child whose name has the same stored form; null when there is none.
    static Folder* FindChild(const Folder& parent, std::u16string_view name);
    const std::vector<std::unique_ptr<Folder>>& All() const { return m_folders; }

private:
    std::vector<std::unique_ptr<Folder>> m_folders;  ///< parents before their children
    std::unordered_map<std::uint32_t, Folder*> m_byNid;
};

}  // namespace pastille::component::pst
