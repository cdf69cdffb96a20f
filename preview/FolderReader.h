#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "preview/Job.h"
#include "preview/PreviewStore.h"

namespace pastille::preview {

/// A folder of a store as it was found there.
struct FoundFolder {
    std::u16string key;
    std::size_t level;  ///< 0 is the top; below the last one before it of a lower level
    std::u16string name;
    std::u16string containerClass;
    std::optional<std::int32_t> items;  ///< none when they cannot be read
};

/// Opens a store and finds its folders, parents before their children. To be run as a job: everything is
/// handed over on the windows' thread.
struct FolderReading {
    std::function<std::shared_ptr<CPreviewStore>()> open;  ///< called beside the windows' thread; may raise
    std::function<void(std::shared_ptr<CPreviewStore>)> opened;
    std::function<void(std::vector<FoundFolder>)> found;  ///< any number of times
    std::function<void()> complete;
    std::function<void(std::string)> failed;  ///< instead of all others: why it cannot be opened, UTF-8
};
void ReadFolders(const FolderReading& reading, IJobOwner& owner);

}  // namespace pastille::preview
