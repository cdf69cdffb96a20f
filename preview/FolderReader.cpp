#include "preview/FolderReader.h"

#include <chrono>
#include <exception>
#include <utility>

#include "writer/FolderWalk.h"

namespace pastille::preview {
namespace {

using Clock = std::chrono::steady_clock;
using writer::CFolderWalk;

/// Longest use of the store in a row, and so the longest that another reader waits.
constexpr auto kTurn = std::chrono::milliseconds(10);

FoundFolder Found(CPreviewStore::CUse& use, const CFolderWalk::Place& place)
{
    FoundFolder found{use.Add(place.folder, place.path), place.level, {}, {}, {}};
    try {
        found.name = place.folder->GetName();
        found.containerClass = place.folder->GetContainerClass();
        found.items = place.folder->GetItems()->GetCount();
    } catch (const writer::_com_error&) {
        // What was read stands.
    }
    return found;
}

/// The folders that can be found in one turn; false at the end.
bool FindSome(CPreviewStore& store, CFolderWalk& walk, std::vector<FoundFolder>& found)
{
    CPreviewStore::CUse use(store);
    for (const auto end = Clock::now() + kTurn; Clock::now() < end;) {
        const auto place = walk.Next([](const std::u16string&) { return true; });
        if (!place)
            return false;
        found.push_back(Found(use, *place));
    }
    return true;
}

void FindAll(const std::shared_ptr<CPreviewStore>& store, const FolderReading& reading, IJobOwner& owner)
{
    auto walk = [&] {
        CPreviewStore::CUse use(*store);
        return std::make_unique<CFolderWalk>(use.Root(), [](const std::string&) {});
    }();
    bool goesOn = true;
    while (goesOn && !owner.IsCancelled()) {
        std::vector<FoundFolder> some;
        goesOn = FindSome(*store, *walk, some);
        owner.Deliver([take = reading.found, some = std::move(some)] { take(some); });
    }
    CPreviewStore::CUse use(*store);
    walk.reset();
}

}  // namespace

void ReadFolders(const FolderReading& reading, IJobOwner& owner)
{
    try {
        const std::shared_ptr<CPreviewStore> store = reading.open();
        owner.Deliver([take = reading.opened, store] { take(store); });
        FindAll(store, reading, owner);
        owner.Deliver(reading.complete);
    } catch (const std::exception& error) {
        owner.Deliver([take = reading.failed, text = std::string(error.what())] { take(text); });
    }
}

}  // namespace pastille::preview
