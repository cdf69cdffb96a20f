#pragma once

#include <filesystem>

#include "platform/FileSystem.h"
#include "writer/Component.h"

namespace pastille::recovery {

/// True when the new store of a run that has failed is worth keeping: it was on the disk at some moment, and
/// holds an item or cannot be read now. Opens the file anew, so nothing else may hold the store any more.
/// Raises nothing of the component.
bool IsWorthKeeping(writer::IComponentFactory& component, platform::IFileSystem& fileSystem,
                    const std::filesystem::path& path);

}  // namespace pastille::recovery
