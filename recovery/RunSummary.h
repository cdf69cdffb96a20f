#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/Messages.h"
#include "platform/RunState.h"
#include "recovery/RunLog.h"
#include "writer/Component.h"

namespace pastille::recovery {

/// Items of the new store. The families go by the container class of their folder.
struct SummaryCounts {
    /// Items of one folder.
    struct Folder {
        std::u16string path;
        std::uint64_t items;
    };

    std::uint64_t mails = 0;
    std::uint64_t contacts = 0;
    std::uint64_t tasks = 0;
    std::uint64_t calendar = 0;
    std::uint64_t journals = 0;
    std::uint64_t notes = 0;
    std::uint64_t total = 0;
    bool opened = false;          ///< the new store could be opened
    std::vector<Folder> folders;  ///< in the order in which the run announced them
};

/// The summary of a run: counts the items of the new store, which it opens in a session of its own, and adds
/// the result to the run log. Made by the front end after the run.
class CRunSummary {
public:
    /// A folder that the run announced. Of two with one path the first counts.
    void Note(const platform::FolderMessage& message);

    /// Counts every folder announced and appends the summary to the log, where the log can be opened. A
    /// folder that cannot be opened counts nothing. Raises nothing of the component.
    SummaryCounts Write(writer::IComponentFactory& component, platform::IFileSystem& fileSystem,
                        const platform::RunState& state, const Clock& clock) const;
    /// Counts only, for the store that a failed run has left.
    SummaryCounts Count(writer::IComponentFactory& component, const platform::RunState& state) const;

private:
    struct Announced {
        std::u16string path;
        std::u16string containerClass;
    };

    std::vector<Announced> m_folders;
    std::unordered_map<std::u16string, std::size_t> m_index;
};

}  // namespace pastille::recovery
