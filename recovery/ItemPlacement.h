#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "recovery/ItemClasses.h"
#include "recovery/ItemRoute.h"
#include "recovery/RecoveryRun.h"
#include "store/OutLook.h"
#include "writer/Component.h"

namespace pastille::recovery {

/// The new item of the source item that is being read.
struct PlacedItem {
    std::optional<ItemFamily> family;  ///< decides which writer gets the properties; none: no writer
    writer::CRef<writer::IMessageItem> item;
    bool isInFallback = false;  ///< no folder took the item

    bool IsMail() const { return family == ItemFamily::Mail && item; }
};

/// Chooses the folder of each item and creates the item in it. The folder chosen is the run's current target.
/// Every member raises what the component raises, but for a folder that does not resolve.
class CItemPlacement {
public:
    CItemPlacement(store::RunContext& run, RecoveryRun& recovery) : m_run(run), m_recovery(recovery) {}

    /// Routes an item of the node list and creates it; in the fallback folder when it has no other.
    PlacedItem Place(const std::u16string& messageClass, std::uint32_t parentNid);
    /// Makes the folder of orphans the current target, creating it when it is not there.
    void OpenOrphanFolder();
    /// Creates an orphan in the current target folder, whatever its family.
    PlacedItem PlaceOrphan(const std::u16string& messageClass);
    /// Creates an item that is to be embedded in another one: in the current target folder, by the same
    /// classes, but a class too short for an item gives a mail at once, and in an item that went to the
    /// fallback folder so does any.
    PlacedItem CreateEmbedded(const std::u16string& messageClass);
    /// A mail of the current time that carries the attachments of an item that takes none: in the fallback
    /// folder, which becomes the current target.
    writer::CRef<writer::IMessageItem> CreatePlaceholder();
    /// The same for an embedded item: it is to go where that one belongs.
    writer::CRef<writer::IMessageItem> CreateEmbeddedPlaceholder();

private:
    bool Route(std::u16string_view messageClass, std::uint32_t parentNid);
    writer::CRef<writer::IStoreFolder> FindTarget(const ItemRoute& route) const;
    writer::CRef<writer::IStoreFolder> FindByRule(const std::u16string& path, const ClassRule& rule) const;
    void Create(const std::u16string& messageClass, const ClassJudgement& judgement,
                PlacedItem& placed) const;
    bool CreateMail(const std::u16string& messageClass, PlacedItem& placed) const;
    writer::CRef<writer::IStoreFolder> FallbackFolder();
    writer::CRef<writer::IStoreFolder> RootSubfolder(std::u16string_view name, std::uint32_t id,
                                                     bool& isNew) const;

    store::RunContext& m_run;
    RecoveryRun& m_recovery;
    bool m_isInFallback = false;  ///< the item of the node list that was placed last
    /// Targets found before, by parent NID (upper half) and default-folder kind of the class (-1: by folder).
    std::unordered_map<std::uint64_t, writer::CRef<writer::IStoreFolder>> m_targets;
    writer::CRef<writer::IStoreFolder> m_fallback;
    writer::CRef<writer::IStoreFolder> m_orphans;
};

}  // namespace pastille::recovery
