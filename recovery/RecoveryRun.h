#pragma once

#include <array>
#include <cstdint>
#include <numeric>
#include <string>
#include <string_view>

#include "recovery/FolderList.h"
#include "recovery/ItemClasses.h"
#include "recovery/RunLog.h"
#include "writer/Component.h"

namespace pastille::recovery {

/// What a run has put into the new store.
struct RecoveryFigures {
    std::uint64_t folders = 0;                         ///< of the source, that exist in the new store
    std::uint64_t foldersCreated = 0;                  ///< of these, the ones that the run had to make
    std::array<std::uint64_t, kItemFamilies> items{};  ///< saved, by ItemFamily; without embedded messages
    std::uint64_t attachments = 0;                     ///< files attached, pictures of contacts included
    std::uint64_t embeddedMessages = 0;                ///< items attached to other items

    std::uint64_t Items() const { return std::accumulate(items.begin(), items.end(), std::uint64_t{0}); }
    std::uint64_t ItemsOf(ItemFamily family) const { return items[static_cast<std::size_t>(family)]; }
};

/// The component's objects that a run holds.
struct OutputStore {
    writer::CRef<writer::IStoreProfiles> profiles;
    writer::CRef<writer::IStoreSession> session;
    writer::CRef<writer::IStoreAuxiliary> auxiliary;
    writer::CRef<writer::IMessageStore> store;
    writer::CRef<writer::IStoreFolder> target;  ///< where the next item is created
    std::u16string storeName;

    /// The folder at a path below the root. Empty when it does not resolve, whatever the reason; only a
    /// failing file below the store is raised.
    writer::CRef<writer::IStoreFolder> Resolve(std::u16string_view folderPath) const;
    /// The same, raising what the component raises; E_NOT_FOUND where it returns nothing.
    writer::CRef<writer::IStoreFolder> Open(std::u16string_view folderPath) const;
    /// Gives the objects back, the store with the session before it.
    void Release();
};

/// What the recovery phases of one run share.
struct RecoveryRun {
    OutputStore output;
    CFolderList folders;
    CRunLog log;
    RecoveryFigures figures;
    Clock clock;                  ///< time of what the run makes itself
    bool ownsOutputFile = false;  ///< whatever lies at the output path was made by this run
};

/// The full path of a folder for the component.
std::u16string StorePath(std::u16string_view storeName, std::u16string_view folderPath);

}  // namespace pastille::recovery
