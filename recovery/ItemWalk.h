#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "recovery/ItemReader.h"
#include "recovery/RecoveryRun.h"
#include "store/OutLook.h"

namespace pastille::recovery {

/// One item on the work list of a node. The first one is the node's own.
struct WorkItem {
    std::uint32_t bidData;
    std::uint32_t bidSub;
    writer::CRef<writer::IMessageItem> mail{};  ///< once it was created
};

/// Phase 8: tries every node that is left as an item.
class CItemWalk {
public:
    CItemWalk(store::RunContext& run, RecoveryRun& recovery)
        : m_run(run), m_recovery(recovery), m_reader(run, recovery)
    {
    }

    /// Raises _com_error only when the file below the store cannot be written.
    void Run();

private:
    bool WalkNodes();
    bool ProcessNode(std::uint32_t bidData, std::uint32_t bidSub, std::uint32_t parentNid);
    bool ProcessWorkItem(std::size_t index, std::uint32_t parentNid);
    void SaveMail();
    void ReportProgress(std::uint64_t done);
    void AnnounceFolders();

    store::RunContext& m_run;
    RecoveryRun& m_recovery;
    CItemReader m_reader;
    std::vector<WorkItem> m_work;
    std::uint64_t m_divisor = 0;
};

}  // namespace pastille::recovery
