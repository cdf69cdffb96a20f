#pragma once

#include <cstdint>
#include <string>

#include "recovery/ItemPlacement.h"
#include "recovery/MailBody.h"
#include "recovery/RecoveryRun.h"
#include "recovery/SourceItem.h"
#include "store/OutLook.h"
#include "writer/MailWriter.h"

namespace pastille::recovery {

/// Reads one source item: its message class places it, its other properties go to the writer of its family in
/// the order of the property context.
class CItemReader {
public:
    CItemReader(store::RunContext& run, RecoveryRun& recovery, CItemPlacement& placement)
        : m_run(run),
          m_recovery(recovery),
          m_placement(placement),
          m_mailWriter(run.frontEnd),
          m_source(run.source, recovery.output.target)
    {
    }

    /// Reads the item of a node. A failing component call costs one property, or what is left of the item;
    /// raises _com_error only when the file below the store cannot be written.
    void Read(std::uint32_t bidData, std::uint32_t bidSub, std::uint32_t parentNid)
    {
        ReadFrom(Origin::Node, bidData, bidSub, parentNid);
    }
    /// The same for an orphan: it goes to the current target folder.
    void ReadOrphan(std::uint32_t bidData, std::uint32_t bidSub)
    {
        ReadFrom(Origin::Orphan, bidData, bidSub, 0);
    }
    /// The same for an item that is to be embedded in another one: it is not routed, shows no row, and is not
    /// saved here.
    void ReadEmbedded(std::uint32_t bidData, std::uint32_t bidSub)
    {
        ReadFrom(Origin::Embedded, bidData, bidSub, 0);
    }

    /// Of the item read last.
    const PlacedItem& Placed() const { return m_placed; }
    const BodyLocator& Bodies() const { return m_bodies; }
    CSourceItem& Source() { return m_source; }
    /// True when it is a mail that the list has a row for.
    bool HasRow() const { return m_placed.IsMail() && m_mailWriter.HasRow(); }

private:
    enum class Origin { Node, Orphan, Embedded };

    void ReadFrom(Origin origin, std::uint32_t bidData, std::uint32_t bidSub, std::uint32_t parentNid);
    PlacedItem Place(const std::u16string& messageClass);
    void WalkProperties();
    void WriteProperty(const store::PropertyRecord& record);
    void WriteMailProperty(const store::PropertyRecord& record);
    void WriteMailSubject(const writer::SourceProperty& property);
    void Finish();

    store::RunContext& m_run;
    RecoveryRun& m_recovery;
    CItemPlacement& m_placement;
    writer::CMailWriter m_mailWriter;
    CSourceItem m_source;
    Origin m_origin = Origin::Node;
    std::uint32_t m_parentNid = 0;  ///< of a node
    PlacedItem m_placed;
    BodyLocator m_bodies;
    bool m_subjectSeen = false;
};

}  // namespace pastille::recovery
