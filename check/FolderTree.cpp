#include "check/FolderTree.h"

#include <algorithm>

#include "check/MessagingRules.h"
#include "format/Ids.h"

namespace pastille::check {
namespace {

bool IsFolderType(std::uint32_t nid)
{
    const auto type = format::Nid{nid}.Type();
    return type == format::NidType::NormalFolder || type == format::NidType::SearchFolder;
}

}  // namespace

CFolderTree::CFolderTree(CMessagingRun& run) : m_run(run)
{
    for (const CDatabase::Node& node : run.Database().Nodes())
        if (IsFolderType(node.nid))
            m_folders.push_back({.node = &node});
    m_isListed.resize(run.Database().Nodes().size());
    CheckParents();
    CheckCycles();
}

FolderFacts* CFolderTree::Find(std::uint32_t nid)
{
    const auto nidOf = [](const FolderFacts& folder) { return folder.node->nid; };
    const auto at = std::ranges::lower_bound(m_folders, nid, {}, nidOf);
    return at == m_folders.end() || at->node->nid != nid ? nullptr : &*at;
}

FolderFacts* CFolderTree::FindParent(const FolderFacts& folder)
{
    return folder.node->parent == folder.node->nid ? nullptr : Find(folder.node->parent);
}

bool CFolderTree::List(const CDatabase::Node& message)
{
    const bool wasListed = m_isListed[NumberOf(message)];
    m_isListed[NumberOf(message)] = true;
    return !wasListed;
}

void CFolderTree::CheckParents()
{
    for (FolderFacts& folder : m_folders) {
        const std::uint32_t nid = folder.node->nid;
        const std::uint32_t parent = folder.node->parent;
        if (nid == format::nids::kRootFolder.value) {
            if (parent != nid)
                m_run.Note(rules::kFolderParent, Place{nid}, {}, Instead(parent, nid));
            continue;
        }
        FolderFacts* const above = FindParent(folder);
        if (above != nullptr)
            ++above->children;
        else if (parent != nid && m_run.Database().HasAllNodes())
            m_run.Note(rules::kFolderParent, Place{nid}, {}, Hex(parent));
    }
}

/// Follows each folder upward until a folder whose way up is known.
void CFolderTree::CheckCycles()
{
    enum : std::uint8_t { Unknown, OnTheWay, Done };
    std::vector<std::uint8_t> states(m_folders.size(), Unknown);
    std::vector<std::size_t> way;
    for (std::size_t start = 0; start < m_folders.size(); ++start) {
        std::size_t at = start;
        way.clear();
        while (states[at] == Unknown) {
            states[at] = OnTheWay;
            way.push_back(at);
            const FolderFacts* const above = Find(m_folders[at].node->parent);
            if (above == nullptr || m_folders[at].node->nid == format::nids::kRootFolder.value)
                break;
            at = static_cast<std::size_t>(above - m_folders.data());
            if (states[at] == OnTheWay)
                m_run.Note(rules::kFolderCycle, Place{m_folders[at].node->nid});
        }
        for (const std::size_t passed : way)
            states[passed] = Done;
    }
}

}  // namespace pastille::check
