#pragma once

#include "recovery/complete/FolderMaker.h"
#include "recovery/complete/ItemIdentity.h"
#include "recovery/complete/ItemPass.h"
#include "recovery/complete/SourceFolders.h"
#include "store/OutLook.h"
#include "store/complete/OrphanSearch.h"

namespace pastille::recovery::complete {

/// Brings back the messages that no node tells of: into the folder whose table has their row, else into that
/// of orphans; each once, and none that came as an item already.
class COrphanPass {
public:
    /// All must outlive this object.
    COrphanPass(store::RunContext& run, store::complete::CScannedSource& source,
                store::complete::CSourceBlocks& blocks, const CSourceFolders& folders, CFolderMaker& maker,
                CItemPass& items, CCodePages& pages, CAccount& account)
        : m_run(run),
          m_source(source),
          m_blocks(blocks),
          m_folders(folders),
          m_maker(maker),
          m_items(items),
          m_pages(pages),
          m_account(account)
    {
    }

    /// False when the run was stopped. Raises _com_error only when the file below the new store cannot be
    /// written.
    bool Run();

private:
    void FindLostRows();
    void Recover(const store::complete::OrphanMessage& orphan);

    store::RunContext& m_run;
    store::complete::CScannedSource& m_source;
    store::complete::CSourceBlocks& m_blocks;
    const CSourceFolders& m_folders;
    CFolderMaker& m_maker;
    CItemPass& m_items;
    CCodePages& m_pages;
    CAccount& m_account;
    CLostRows m_lostRows;
};

}  // namespace pastille::recovery::complete
