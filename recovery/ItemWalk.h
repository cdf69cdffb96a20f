#pragma once

#include <cstddef>
#include <cstdint>

#include "recovery/AttachmentReader.h"
#include "recovery/ItemReader.h"
#include "recovery/RecoveryRun.h"
#include "recovery/WorkList.h"
#include "store/OutLook.h"

namespace pastille::recovery {

/// Phase 8: tries every node that is left as an item, and in a Smart Scan the blocks that no node refers to.
class CItemWalk {
public:
    CItemWalk(store::RunContext& run, RecoveryRun& recovery)
        : m_run(run),
          m_recovery(recovery),
          m_placement(run, recovery),
          m_reader(run, recovery, m_placement),
          m_attachments(run, recovery, m_placement)
    {
    }

    /// Raises _com_error only when the file below the store cannot be written.
    void Run();

private:
    bool WalkNodes();
    bool WalkOrphans();
    bool ProcessNode(std::uint32_t bidData, std::uint32_t bidSub, std::uint32_t parentNid);
    bool ProcessWorkItem(std::size_t index, std::uint32_t parentNid);
    void ReadItem(std::size_t index, std::uint32_t parentNid);
    void FinishItems();
    void SaveMail(const writer::CRef<writer::IMessageItem>& mail);
    void ReportProgress();
    void AnnounceFolders();

    store::RunContext& m_run;
    RecoveryRun& m_recovery;
    CItemPlacement m_placement;
    CItemReader m_reader;
    CAttachmentReader m_attachments;
    CWorkList m_work;
    std::uint64_t m_divisor = 0;
    std::uint64_t m_done = 0;  ///< nodes and orphans
    bool m_orphanMode = false;
};

}  // namespace pastille::recovery
