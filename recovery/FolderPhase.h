#pragma once

#include <string>
#include <string_view>

#include "recovery/RecoveryRun.h"
#include "store/OutLook.h"
#include "writer/Variant.h"

namespace pastille::recovery {

/// What a new folder of the store is to be made as: the kind of a default folder for some names, else its
/// container class.
writer::Variant NewFolderType(const FolderRecord& folder);

/// Phases 6 and 7: collects the source's folders from the node list and makes them in the new store.
class CFolderPhase {
public:
    CFolderPhase(store::RunContext& run, RecoveryRun& recovery) : m_run(run), m_recovery(recovery) {}

    /// Raises _com_error only when the file below the store cannot be written.
    void Run();

private:
    void CreateFolders();
    void CreateFolder(const FolderRecord& folder, const std::u16string& path);
    void CreateWithStandIn(const FolderRecord& folder, const std::u16string& path);
    void MakeUnder(const writer::CRef<writer::IStoreFolder>& parent, std::u16string_view name,
                   const FolderRecord& folder);

    store::RunContext& m_run;
    RecoveryRun& m_recovery;
};

}  // namespace pastille::recovery
