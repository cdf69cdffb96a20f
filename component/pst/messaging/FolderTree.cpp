#include "component/pst/messaging/FolderTree.h"

#include "component/pst/messaging/StoredText.h"

namespace pastille::component::pst {

Folder& CFolderTree::Add(Folder* parent, format::Nid nid, std::u16string_view name)
{
    auto& folder = *m_folders.emplace_back(std::make_unique<Folder>());
    folder.nid = nid;
    folder.parent = parent;
    folder.name = StoredFolderName(name);
    if (name.size() > kLongestFolderName)
        folder.wholeName = name;
    m_byNid.emplace(nid.value, &folder);
    if (parent != nullptr) {
        parent->children.push_back(&folder);
        parent->byName.try_emplace(folder.name, &folder);
    }
    return folder;
}

Folder* CFolderTree::Find(format::Nid nid) const
{
    const auto found = m_byNid.find(nid.value);
    return found == m_byNid.end() ? nullptr : found->second;
}

Folder* CFolderTree::FindChild(const Folder& parent, std::u16string_view name)
{
    const auto found = parent.byName.find(StoredFolderName(name));
    return found == parent.byName.end() ? nullptr : found->second;
}

}  // namespace pastille::component::pst
