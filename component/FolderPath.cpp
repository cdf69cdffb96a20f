#include "component/FolderPath.h"

#include <cstddef>
#include <set>
#include <utility>
#include <vector>

#include "component/pst/messaging/StoredText.h"

namespace pastille::component {
namespace {

constexpr char16_t kSeparator = u'\\';

/// A place in the path down to which a folder has been found.
struct Step {
    pst::Folder* folder;
    std::size_t used;  ///< units of the path
};

bool IsEndOfName(std::u16string_view path, std::size_t at)
{
    return at == path.size() || (at < path.size() && path[at] == kSeparator);
}

/// The sub-folders that the path can go on with, the longest name last.
std::vector<Step> StepsFrom(pst::CPstStore& store, const Step& from, std::u16string_view path)
{
    std::vector<Step> steps;
    // The stored form of the names that start here grows with them until it is cut, so it is built once and
    // looked up at every separator.
    std::u16string stored;
    const std::size_t start = from.used + 1;
    for (std::size_t at = start; at <= path.size(); ++at) {
        const bool isCut = stored.size() > pst::kLongestFolderName;
        if (IsEndOfName(path, at)) {
            pst::Folder* const found = store.FindSubfolder(*from.folder, stored);
            if (found)
                steps.push_back({found, at});
            // Whatever follows a cut name has the same stored form. It is part of the name only when the
            // folder was made under it.
            if (isCut) {
                const std::size_t whole = found ? start + found->wholeName.size() : 0;
                if (whole > at && IsEndOfName(path, whole) &&
                    path.substr(start).starts_with(found->wholeName))
                    steps.push_back({found, whole});
                break;
            }
        }
        if (at < path.size() && !isCut && !pst::IsControl(path[at]))
            stored.push_back(path[at]);
    }
    return steps;
}

}  // namespace

pst::Folder* FindFolderBelow(pst::CPstStore& store, pst::Folder& start, std::u16string_view names)
{
    if (!names.empty() && names.front() != kSeparator)
        return nullptr;
    std::vector<Step> open{{&start, 0}};
    // Names that are cut in their stored form end at several places of the path, and so does what follows
    // them.
    std::set<std::pair<pst::Folder*, std::size_t>> met;
    while (!open.empty()) {
        const Step step = open.back();
        open.pop_back();
        if (step.used == names.size())
            return step.folder;
        for (const Step& next : StepsFrom(store, step, names))
            if (met.emplace(next.folder, next.used).second)
                open.push_back(next);
    }
    return nullptr;
}

}  // namespace pastille::component
