#include "writer/FolderWalk.h"

#include <utility>

#include "platform/Text.h"

namespace pastille::writer {
namespace {

constexpr std::size_t kDeepestLevel = 1000;
constexpr std::size_t kLongestPath = 32767;
constexpr std::size_t kMostFolders = 500'000;

}  // namespace

std::string PathText(const std::u16string& path)
{
    return path.empty() ? "\\" : platform::ToUtf8(path);
}

CFolderWalk::CFolderWalk(CRef<IStoreFolder> top, std::function<void(const std::string&)> tell)
    : m_tell(std::move(tell)), m_top(std::move(top))
{
}

std::optional<CFolderWalk::Place> CFolderWalk::Next(const std::function<bool(const std::u16string&)>& enters)
{
    if (m_given == kMostFolders) {
        m_tell("The store has more than 500,000 folders; the others are left out.");
        m_levels.clear();
        ++m_given;
    }
    auto place = m_top ? std::optional<Place>({*std::exchange(m_top, std::nullopt), {}, 0, {}}) : NextChild();
    if (!place)
        return std::nullopt;
    ++m_given;
    if (enters(place->path))
        Enter(*place);
    return place;
}

std::optional<CFolderWalk::Place> CFolderWalk::NextChild()
{
    while (!m_levels.empty()) {
        Level& level = m_levels.back();
        if (level.next > level.count) {
            m_levels.pop_back();
            continue;
        }
        try {
            auto folder = level.folders->GetFolder(level.next++);
            if (!folder)
                continue;
            std::u16string path = level.path + u"\\" + folder->GetName();
            return Place{std::move(folder), std::move(path), m_levels.size(), {}};
        } catch (const _com_error& error) {
            m_tell("A folder in " + PathText(level.path) + " cannot be read: " + error.what());
        }
    }
    return std::nullopt;
}

/// Looks at the folders below, and goes on with them.
void CFolderWalk::Enter(Place& place)
{
    try {
        auto folders = place.folder->GetFolders();
        const std::int32_t count = folders->GetCount();
        place.folders = count;
        if (const std::int32_t lost = folders->GetUnreadableCount(); lost != 0)
            m_tell(std::to_string(lost) + " folder(s) in " + PathText(place.path) + " cannot be read.");
        const bool isTooDeep = m_levels.size() >= kDeepestLevel || place.path.size() > kLongestPath;
        if (isTooDeep && count != 0 && !std::exchange(m_toldTooDeep, true))
            m_tell(
                "Folders more than 1,000 levels down, or with a path of more than 32,767 characters, are "
                "left out.");
        if (!isTooDeep && count != 0)
            m_levels.push_back({std::move(folders), count, 1, place.path});
    } catch (const _com_error& error) {
        m_tell("The folders in " + PathText(place.path) + " cannot be read: " + error.what());
    }
}

}  // namespace pastille::writer
