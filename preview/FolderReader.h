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

/// Finds the folders of a store, parents before their children, and makes them known there. To be run as a
/// job: everything is handed over on the windows' thread. A store that names folders without end gives as
/// many as keys of 64 Mi characters can stand for.
struct FolderReading {
    std::shared_ptr<CPreviewStore> store;
    std::function<void(std::vector<FoundFolder>)> found;  ///< any number of times
    std::function<void()> complete;
};
void ReadFolders(const FolderReading& reading, IJobOwner& owner);

}  // namespace pastille::preview
