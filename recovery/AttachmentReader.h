#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "recovery/AttachmentProperties.h"
#include "recovery/ItemPlacement.h"
#include "recovery/RecoveryRun.h"
#include "recovery/SourceItem.h"
#include "recovery/WorkList.h"
#include "store/DataTree.h"

namespace pastille::recovery {

/// Recovers the attachments of an item: files go to the new item, attached messages onto the work list, and
/// when they are made, into the item that they were embedded in. Whatever an item is that takes no
/// attachments, its attachments go to a placeholder mail.
///
/// Every public member raises what the component raises.
class CAttachmentReader {
public:
    CAttachmentReader(store::RunContext& run, RecoveryRun& recovery, CItemPlacement& placement)
        : m_source(run.source),
          m_recovery(recovery),
          m_placement(placement),
          m_attachment(run.source, recovery.output.target, kMostSubnodes),
          m_probe(run.source, recovery.output.target, kMostSubnodes)
    {
    }

    /// Tries every subnode of the item at `index` as an attachment, when they begin with an attachment table.
    void Read(CWorkList& work, std::size_t index, const std::vector<store::SubnodeEntry>& subnodes);
    /// Attaches what was made of the message at `index`, its item or its placeholder, to the item that it is
    /// embedded in, and saves it.
    void AttachMessage(CWorkList& work, std::size_t index, const writer::CRef<writer::IMessageItem>& message);

private:
    void ReadOne(CWorkList& work, std::size_t index, const store::SubnodeEntry& entry);
    bool MayBeFile(const AttachmentProperties& properties) const;
    bool QueueMessages(CWorkList& work, std::size_t index, const AttachmentProperties& properties);
    void AddFile(CWorkList& work, std::size_t index, const store::SubnodeEntry& entry,
                 const AttachmentProperties& properties);
    std::optional<format::CByteView> HeapBytes(const AttachmentProperties& properties) const;
    std::vector<std::uint32_t> DataBlocks(const store::SubnodeEntry& entry,
                                          const AttachmentProperties& properties);
    void Attach(WorkItem& item, platform::IByteStream& bytes, const AttachmentProperties& properties);
    const writer::CRef<writer::IMessageItem>& Carrier(WorkItem& item);

    /// Of one attachment: its values that the heap cannot hold, or the message attached.
    static constexpr std::size_t kMostSubnodes = 1000;

    store::CSourceStore& m_source;
    RecoveryRun& m_recovery;
    CItemPlacement& m_placement;
    CSourceItem m_attachment;
    CSourceItem m_probe;  ///< tells whether a block is a property context
};

}  // namespace pastille::recovery
