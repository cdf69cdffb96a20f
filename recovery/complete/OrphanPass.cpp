#include "recovery/complete/OrphanPass.h"

#include <unordered_set>
#include <vector>

#include "recovery/Guarded.h"
#include "recovery/complete/SourceNodes.h"

namespace pastille::recovery::complete {

using store::complete::CFoundObject;

bool COrphanPass::Run()
{
    const auto proceed = [&] { return !m_run.state.MustStop(); };
    std::vector<store::complete::OrphanMessage> orphans;
    Guarded([&] {
        orphans = store::complete::FindOrphanMessages(m_source, m_blocks, proceed);
        FindLostRows();
    });
    for (const store::complete::OrphanMessage& orphan : orphans) {
        if (!proceed())
            return false;
        Guarded([&] { Recover(orphan); });
    }
    return proceed();
}

void COrphanPass::FindLostRows()
{
    std::unordered_set<std::uint32_t> lost, folders;
    m_items.AddUnread(lost);
    for (const ListedItem& listed : m_folders.Listed()) {
        if (m_source.nodes.VersionsOf(listed.item).empty())
            lost.insert(listed.item);
        if (lost.contains(listed.item))
            folders.insert(listed.folder);
    }
    for (const std::uint32_t folder : folders) {
        const bool isAssociated = (folder & ListedItem::kAssociated) != 0;
        CFoundObject none(m_blocks, {});
        if (const auto table = OpenTable(m_source, m_blocks, ContentsTableOf(folder, isAssociated)))
            m_lostRows.Add(*table, folder, lost, CItemText(m_pages.PagesOf(none)));
    }
}

void COrphanPass::Recover(const store::complete::OrphanMessage& orphan)
{
    CFoundObject message(m_blocks, orphan.reference);
    const bool isOpen = message.Open();
    const CItemText text(m_pages.PagesOf(message));
    const auto row = isOpen ? m_lostRows.Take(message, text) : std::nullopt;
    if (!row && isOpen && m_items.IsKnown(message, text)) {
        m_account.NoteLeftOut();
        return;
    }
    const MadeFolder* folder = row ? m_maker.Find(row->Folder()) : nullptr;
    CItemPass::Found found{.message = message};
    found.isAssociated = isOpen && IsFlaggedAssociated(message);
    if (folder != nullptr) {
        found.nid = row->item;
        found.listedIn = row->Folder();
        found.isAssociated = row->IsAssociated();
        m_items.NoteFound(row->item);
    }
    m_items.CopyInto(folder != nullptr ? *folder : m_maker.Orphans(), found);
}

}  // namespace pastille::recovery::complete
