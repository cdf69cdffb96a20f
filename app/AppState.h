#pragma once

#include <filesystem>

#include "platform/RunState.h"

namespace pastille::app {

/// What the wizard fills in and a run reads.
struct RepairChoices {
    platform::RunSettings settings;  ///< source path, scan method, destination folder
    std::filesystem::path sourceFileName;
    /// A store that is known to need a repair, which the page for a file comes up with; empty: none.
    std::filesystem::path offered;

    /// Takes a source file; its name is the path's last component.
    void SetSource(const std::filesystem::path& path)
    {
        settings.sourcePath = path;
        sourceFileName = path.filename();
    }
};

}  // namespace pastille::app
