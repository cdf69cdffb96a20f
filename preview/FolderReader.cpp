#include "preview/FolderReader.h"

#include <chrono>
#include <exception>
#include <utility>

#include "writer/FolderWalk.h"

namespace pastille::preview {
namespace {

using Clock = std::chrono::steady_clock;
using writer::CFolderWalk;

constexpr std::size_t kMostKeys = 64u << 20;

FoundFolder Found(CPreviewStore::CUse& use, const CFolderWalk::Place& place)
{
    FoundFolder found{use.Add(place.folder, place.path), place.level, {}, {}, {}};
    try {
        found.name = place.folder->GetName();
        found.containerClass = place.folder->GetContainerClass();
        found.items = place.folder->GetItems()->GetCount();
    } catch (const std::exception&) {
        // What was read stands.
    }
    return found;
}

/// Walks the folders, and lets go of them below a use of the store whatever happens.
class CFolders {
public:
    explicit CFolders(CPreviewStore& store) : m_store(store)
    {
        CPreviewStore::CUse use(m_store);
        m_walk.emplace(use.Root(), [](const std::string&) {});
    }
    ~CFolders()
    {
        const CPreviewStore::CUse use(m_store);
        m_walk.reset();
    }
    CFolders(const CFolders&) = delete;
    CFolders& operator=(const CFolders&) = delete;

    /// Those that can be found in one turn; `m_isDone` after the last.
    std::vector<FoundFolder> FindSome()
    {
        std::vector<FoundFolder> found;
        CPreviewStore::CUse use(m_store);
        for (const auto end = Clock::now() + CPreviewStore::CUse::kTurn; Clock::now() < end && !m_isDone;) {
            const auto place = m_walk->Next([](const std::u16string&) { return true; });
            m_isDone = !place || m_keySize > kMostKeys;
            if (m_isDone)
                break;
            found.push_back(Found(use, *place));
            m_keySize += found.back().key.size();
        }
        return found;
    }
    bool IsDone() const { return m_isDone; }

private:
    CPreviewStore& m_store;
    std::optional<CFolderWalk> m_walk;
    std::size_t m_keySize = 0;
    bool m_isDone = false;
};

}  // namespace

void ReadFolders(const FolderReading& reading, IJobOwner& owner)
{
    try {
        CFolders folders(*reading.store);
        while (!folders.IsDone() && !owner.IsCancelled())
            owner.Deliver([take = reading.found, some = folders.FindSome()] { take(some); });
    } catch (const std::exception&) {
        // What was found stands.
    }
    owner.Deliver(reading.complete);
}

}  // namespace pastille::preview
