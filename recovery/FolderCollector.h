#pragma once

#include <cstddef>

#include "recovery/FolderList.h"
#include "store/OutLook.h"

namespace pastille::recovery {

/// Phase 6: collects the source's folders from the node list and takes their nodes out of it.
class CFolderCollector {
public:
    /// Both must outlive this object.
    CFolderCollector(store::RunContext& run, CFolderList& folders) : m_run(run), m_folders(folders) {}

    /// Announces the phase. False when the run was stopped; else the folders are there, and not yet arranged.
    bool Run();

private:
    bool Collect();
    bool TakeFolder(const store::NodeRecord& node);
    void ReportProgress(std::size_t visited);

    store::RunContext& m_run;
    CFolderList& m_folders;
    unsigned m_mapsRead = 0;
};

}  // namespace pastille::recovery
