#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace pastille::app {

/// A search for PST and OST files in a folder and everything below it, on a thread of its own. Links to
/// folders are not followed, and a folder that several paths lead to is searched once.
class CDriveSearch {
public:
    /// Begins at once. A root that is no folder ends at once.
    explicit CDriveSearch(const std::filesystem::path& root);
    /// Stops. A search that a dead device holds up is left behind; it touches nothing any more.
    ~CDriveSearch();
    CDriveSearch(const CDriveSearch&) = delete;
    CDriveSearch& operator=(const CDriveSearch&) = delete;

    /// The search ends once it has listed the files of the folder it is in; those of the root it always
    /// lists.
    void Stop();

    struct News {
        std::vector<std::filesystem::path> files;  ///< in the order in which they were found
        std::optional<std::string> folder;         ///< the folder being searched, when it has changed
        bool finished = false;                     ///< nothing comes after this
    };
    /// What has happened since the last call, with at most so many files. Never waits for the search.
    News Take(std::size_t mostFiles);

private:
    struct State;
    std::shared_ptr<State> m_state;
    std::thread m_thread;
};

}  // namespace pastille::app
