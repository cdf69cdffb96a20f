#include "app/DriveSearch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "app/StoreFiles.h"
#include "platform/FolderCursor.h"

namespace pastille::app {

using platform::CFolderCursor;
using platform::FolderId;

struct CDriveSearch::State {
    std::atomic<bool> stop{false};
    std::mutex mutex;
    std::condition_variable ended;
    std::deque<std::filesystem::path> files;
    std::string folder;
    bool folderChanged = false;
    bool finished = false;

    void EnterFolder(const std::string& path)
    {
        std::scoped_lock lock(mutex);
        folder = path;
        folderChanged = true;
    }
    void Add(const std::string& path, const FolderContents& contents)
    {
        if (contents.psts.empty() && contents.osts.empty())
            return;
        std::deque<std::filesystem::path> found;
        for (const auto* names : {&contents.psts, &contents.osts}) {
            for (const std::string& name : *names)
                found.push_back(std::filesystem::path(path) / name);
        }
        std::scoped_lock lock(mutex);
        std::ranges::move(found, std::back_inserter(files));
    }
    void Finish()
    {
        std::scoped_lock lock(mutex);
        finished = true;
        ended.notify_all();
    }
    void Search(const std::filesystem::path& root);
};

namespace {

struct FolderIdHash {
    std::size_t operator()(const FolderId& id) const
    {
        return std::hash<std::uint64_t>()(id.file * 0x9E3779B97F4A7C15U ^ id.device);
    }
};

}  // namespace

/// Each folder before those below it, with the names of the folders still to come kept a level each: trees
/// are deeper than the stack.
void CDriveSearch::State::Search(const std::filesystem::path& root)
{
    CFolderCursor cursor;
    if (root.empty() || !cursor.Open(root))
        return;
    std::unordered_set<FolderId, FolderIdHash> visited;
    std::vector<std::vector<std::string>> toCome;
    const auto list = [&] {
        visited.insert(cursor.Id());
        FolderContents contents = ReadContents(cursor);
        Add(cursor.Path(), contents);
        std::ranges::reverse(contents.folders);
        toCome.push_back(std::move(contents.folders));
    };
    list();
    while (!toCome.empty() && !stop) {
        if (toCome.back().empty()) {
            toCome.pop_back();
            cursor.Leave();
            continue;
        }
        const std::string name = std::move(toCome.back().back());
        toCome.back().pop_back();
        if (!cursor.Enter(name))
            continue;
        if (visited.contains(cursor.Id())) {
            cursor.Leave();
            continue;
        }
        EnterFolder(cursor.Path());
        list();
    }
}

CDriveSearch::CDriveSearch(const std::filesystem::path& root) : m_state(std::make_shared<State>())
{
    try {
        m_thread = std::thread([state = m_state, root] {
            try {
                state->Search(root);
            } catch (const std::exception&) {
                // What was found until then counts.
            }
            state->Finish();
        });
    } catch (const std::system_error&) {
        m_state->Finish();
    }
}

CDriveSearch::~CDriveSearch()
{
    Stop();
    if (!m_thread.joinable())
        return;
    std::unique_lock lock(m_state->mutex);
    const bool ended =
        m_state->ended.wait_for(lock, std::chrono::milliseconds(40), [this] { return m_state->finished; });
    lock.unlock();
    if (ended)
        m_thread.join();
    else
        m_thread.detach();
}

void CDriveSearch::Stop()
{
    m_state->stop = true;
}

CDriveSearch::News CDriveSearch::Take(std::size_t mostFiles)
{
    News news;
    std::scoped_lock lock(m_state->mutex);
    const auto end =
        m_state->files.begin() + static_cast<std::ptrdiff_t>(std::min(mostFiles, m_state->files.size()));
    news.files.assign(std::move_iterator(m_state->files.begin()), std::move_iterator(end));
    m_state->files.erase(m_state->files.begin(), end);
    if (std::exchange(m_state->folderChanged, false))
        news.folder = m_state->folder;
    news.finished = m_state->finished && m_state->files.empty();
    return news;
}

}  // namespace pastille::app
