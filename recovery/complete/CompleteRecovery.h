#pragma once

#include <string>

#include "recovery/RecoveryRun.h"
#include "recovery/complete/Account.h"
#include "recovery/complete/AccountReport.h"
#include "recovery/complete/FolderMaker.h"
#include "recovery/complete/ItemPass.h"
#include "recovery/complete/MessageCopier.h"
#include "recovery/complete/PropertyCopier.h"
#include "recovery/complete/SourceFolders.h"
#include "store/OutLook.h"

namespace pastille::recovery::complete {

/// The recovery of one run that brings everything over, each item once, and accounts for what is missing.
///
/// Members raise _com_error only when the file below the new store cannot be written, or the new store is not
/// there.
class CCompleteRecovery {
public:
    /// Both must outlive this object. REQUIRES: the source has been scanned.
    CCompleteRecovery(store::RunContext& run, RecoveryRun& recovery);

    /// Phases 6 and 7.
    void CollectFolders();
    /// Phase 8.
    void RecoverItems();

    const CAccount& Account() const { return m_account; }
    ReportFacts Facts() const;

private:
    void ReportProgress(std::size_t done, unsigned step);
    bool RecoverAll();

    store::RunContext& m_run;
    RecoveryRun& m_recovery;
    store::complete::CScannedSource& m_source;
    store::complete::CSourceBlocks m_blocks;
    CPropertyNames m_names;
    CCopyAllowance m_allowance;
    CCodePages m_pages;
    CPropertyCopier m_properties;
    CAccount m_account;
    CSourceFolders m_folders;
    CFolderMaker m_maker;
    CMessageCopier m_messages;
    CItemPass m_items;
    bool m_isFinished = false;
};

}  // namespace pastille::recovery::complete
