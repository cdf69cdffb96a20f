#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "component/ProfileFiles.h"
#include "component/pst/messaging/PstStore.h"
#include "platform/FileSystem.h"

namespace pastille::component {

/// What a session and its store list share: the profile and the stores opened so far. Raises what CPstStore
/// and CProfileFiles raise.
class CSessionState {
public:
    CSessionState(platform::IFileSystem& files, const std::filesystem::path& profileFolder,
                  pst::CheckpointPolicy checkpoints)
        : m_files(files), m_profiles(files, profileFolder), m_checkpoints(checkpoints)
    {
    }

    /// Raises CStoreError (NotFound) when there is no such profile. Stores are opened when they are asked
    /// for.
    void Logon(std::u16string_view profile);
    /// Creates a store and adds it to the profile. Nothing stays behind when the profile cannot be written.
    std::shared_ptr<pst::CPstStore> AddStore(const std::filesystem::path& path,
                                             std::u16string_view displayName);
    /// Opens a store that belongs to no profile. Raises what CPstStore::Open raises.
    std::shared_ptr<pst::CPstStore> OpenStore(const std::filesystem::path& path, const std::string& codePage)
    {
        return pst::CPstStore::Open(m_files, path, codePage);
    }
    /// The store added last. Raises CStoreError (NotFound) when there is none or its file is no store.
    std::shared_ptr<pst::CPstStore> DefaultStore();

    /// A folder and the store that it belongs to.
    struct Place {
        std::shared_ptr<pst::CPstStore> store;
        pst::Folder* folder;
    };
    /// Raises CStoreError (NotFound).
    Place DefaultFolder(std::int32_t kind);
    Place FolderAt(std::u16string_view path);

private:
    struct Entry {
        ProfileStore description;
        std::shared_ptr<pst::CPstStore> store;  ///< once opened
    };
    void RequireLogon() const;
    std::shared_ptr<pst::CPstStore> Open(Entry& entry);
    /// Null when the file is missing or no store.
    std::shared_ptr<pst::CPstStore> OpenIfSound(Entry& entry);

    platform::IFileSystem& m_files;
    CProfileFiles m_profiles;
    pst::CheckpointPolicy m_checkpoints;
    std::optional<std::u16string> m_profile;  ///< logged on to
    std::vector<Entry> m_stores;
};

}  // namespace pastille::component
