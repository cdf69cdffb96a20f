#pragma once

#include <filesystem>

#include "component/pst/messaging/CheckpointPolicy.h"
#include "platform/FileSystem.h"
#include "writer/Component.h"

namespace pastille::component {

/// The message-store component that the program brings along: profiles in files, stores in PST files that it
/// writes and strictly reads itself.
///
/// All factories made with the same folder see the same profiles. A session is used on one thread at a time;
/// two sessions may be on different threads. Nothing here ever waits for a lock.
class CBuiltInComponent final : public writer::IComponentFactory {
public:
    /// `profileFolder` holds the profile files; it is made when the first profile is added. `files` outlives
    /// the factory and everything that comes from it.
    CBuiltInComponent(platform::IFileSystem& files, std::filesystem::path profileFolder,
                      pst::CheckpointPolicy checkpoints = {});

    writer::CRef<writer::IStoreProfiles> CreateProfiles() override;
    writer::CRef<writer::IStoreSession> CreateSession() override;
    writer::CRef<writer::IStoreAuxiliary> CreateAuxiliary() override;

private:
    platform::IFileSystem& m_files;
    std::filesystem::path m_profileFolder;
    pst::CheckpointPolicy m_checkpoints;
};

}  // namespace pastille::component
