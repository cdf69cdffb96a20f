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

/// The sub-folders that the path can go on with, the longest name last.
std::vector<Step> StepsFrom(pst::CPstStore& store, const Step& from, std::u16string_view path)
{
    std::vector<Step> steps;
    // The stored form of all names that start here grows with them and ends at the same length, so it is
    // built once and looked up at every separator.
    std::u16string stored;
    const std::size_t start = from.used + 1;
    for (std::size_t at = start; at <= path.size(); ++at) {
        if (at == path.size() || path[at] == kSeparator)
            if (pst::Folder* const found = store.FindSubfolder(*from.folder, stored))
                steps.push_back({found, at});
        if (at < path.size() && stored.size() <= pst::kLongestFolderName && !pst::IsControl(path[at]))
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
